// processReplacing must not touch the heap: a replaced global operator new
// counts the allocations made while blocks are processed.
#include "ADeEsser.h"

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <new>
#include <vector>

static std::atomic<long> g_Allocations{0};
static std::atomic<bool> g_Counting{false};

void* operator new(std::size_t size)
{
    if (g_Counting.load(std::memory_order_relaxed))
        g_Allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void operator delete(void* p) noexcept
{
    std::free(p);
}

void operator delete[](void* p) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}

void operator delete[](void* p, std::size_t) noexcept
{
    std::free(p);
}

TEST(RealTime, ProcessReplacingAllocatesNothing)
{
    setenv("XDG_CONFIG_HOME", "/nonexistent-deesser-test", 1);
    ADeEsser fx(nullptr);
    fx.setSampleRate(48000.f);
    fx.setBlockSize(512);
    fx.setParameter(kParamThreshold, 0.6f);
    fx.setParameter(kParamRatio, 0.1f);
    std::vector<float> l(2048), r(2048), ol(2048), orr(2048);
    for (size_t i = 0; i < l.size(); ++i)
        l[i] = r[i] = (float)std::sin(0.7 * (double)i);
    float* in[2] = {l.data(), r.data()};
    float* out[2] = {ol.data(), orr.data()};

    g_Allocations = 0;
    g_Counting = true;
    // Every mode, odd block lengths, and more frames than announced.
    for (float sideChain : {1.f, 0.f})
        for (bool listen : {false, true})
            for (int n : {512, 1, 2, 31, 300, 2048})
            {
                g_Counting = false;
                fx.setParameter(kParamSideChain, sideChain);
                fx.SetListen(listen);
                g_Counting = true;
                fx.processReplacing(in, out, n);
            }
    g_Counting = false;
    EXPECT_EQ(g_Allocations.load(), 0);
}
