// processReplacing must not touch the heap: a replaced global operator new
// counts the allocations made while blocks are processed.
#include "ADeEsser.h"
#include "AllocationCounter.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

TEST(RealTime, ProcessReplacingAllocatesNothing)
{
    if (AllocationCount() < 0)
        GTEST_SKIP() << "allocations are not counted under a sanitizer";
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
    // Every mode, odd block lengths, and more frames than announced.
    const long before = AllocationCount();
    for (float sideChain : {1.f, 0.f})
        for (bool listen : {false, true})
        {
            fx.setParameter(kParamSideChain, sideChain);
            fx.SetListen(listen);
            for (int n : {512, 1, 31, 2048})
                fx.processReplacing(in, out, n);
        }
    EXPECT_EQ(AllocationCount() - before, 0);
}
