// Replaces the global operator new and delete of the test program with ones
// that count, so that a test can show a code path allocates nothing (the
// standard library's array and nothrow forms call these). Under a
// sanitizer, which brings its own allocation functions, nothing is replaced
// and the count is -1 (the test that needs it is skipped).
#include "AllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ALLOCATION_COUNTER_OFF 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) ||                         \
    __has_feature(memory_sanitizer)
#define ALLOCATION_COUNTER_OFF 1
#endif
#endif

#ifdef ALLOCATION_COUNTER_OFF
long AllocationCount()
{
    return -1;
}
#else
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

void operator delete(void* p) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}
#endif
