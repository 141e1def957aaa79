// The second-order recursion every filter here runs, direct form I:
//   y = b0 x + b1 x1 + b2 x2 + f1 y1 + f2 y2
// with the feedback coefficients f1, f2 already negated (f = -a), summed left
// to right. T is float for one channel or v4f for up to four side by side.
// Copied into a local for a block, so that the state lives in registers.
#pragma once

template <class T> struct DirectForm1
{
    T b0, b1, b2, f1, f2; // coefficients
    T x1, x2, y1, y2;     // the last two inputs and outputs

    T Step(T x)
    {
        const T y = b0 * x + b1 * x1 + b2 * x2 + f1 * y1 + f2 * y2;
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        return y;
    }
};

// One channel's block, its state read from and written back to x1 ... y2.
inline void RunDirectForm1(const float* in, float* out, int count, float b0, float b1, float b2,
                           float f1, float f2, float& x1, float& x2, float& y1, float& y2)
{
    DirectForm1<float> f{b0, b1, b2, f1, f2, x1, x2, y1, y2};
    for (int i = 0; i < count; ++i)
        out[i] = f.Step(in[i]);
    x1 = f.x1;
    x2 = f.x2;
    y1 = f.y1;
    y2 = f.y2;
}
