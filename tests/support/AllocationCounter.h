// Heap allocations made so far by this test program (operator new calls), or
// -1 under a sanitizer, which keeps its own allocation functions. Link the
// alloc_counter library to get it.
#pragma once

long AllocationCount();
