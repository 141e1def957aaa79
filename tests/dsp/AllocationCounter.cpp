// Replaces the global allocation functions of the test program with ones that
// count, so that a test can show a code path allocates nothing.
#include <atomic>
#include <cstdlib>
#include <new>

static std::atomic<long> g_Allocations{0};

long AllocationCount()
{
    return g_Allocations.load();
}

void* operator new(std::size_t size)
{
    ++g_Allocations;
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
