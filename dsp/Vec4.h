// Four-lane float and int vectors (GCC and Clang vector extensions) for the
// loops that run two or four channels or filters side by side.
#pragma once

typedef float v4f __attribute__((vector_size(16)));
typedef int v4i __attribute__((vector_size(16)));

// |x| per lane by clearing the sign bits: a NaN stays a NaN.
inline v4f Abs(v4f x)
{
    const v4i mask = {0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF};
    return (v4f)((v4i)x & mask);
}
