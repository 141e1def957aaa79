// Shelving/peaking biquad: cookbook coefficients in single precision, direct
// form I recursion.
#include "CBiquadFilter.h"
#include "DirectForm1.h"
#include "Vec4.h"

#include <cmath>

CBiquadFilter::CBiquadFilter() : x1(0.f), x2(0.f), y1(0.f), y2(0.f) {}

void CBiquadFilter::Reset()
{
    x1 = x2 = y1 = y2 = 0.f;
}

bool CBiquadFilter::IsStateBad() const
{
    return !std::isfinite(x1) || !std::isfinite(x2) || !std::isfinite(y1) || !std::isfinite(y2);
}

void CBiquadFilter::CalcCoefficients(float sampleRate, float frequency, float gainDb, float q,
                                     int type)
{
    // Everything in float; only pow, sin and cos are taken in double.
    const float A = (float)std::pow(10.0, (double)(gainDb / 40.f));
    const float nyquistLimit = 0.5f * sampleRate * 0.95f;
    const float f = frequency < nyquistLimit ? frequency : nyquistLimit;
    const float w0 = f / sampleRate * 6.2831855f;
    const float sn = (float)std::sin((double)w0);
    const float cs = (float)std::cos((double)w0);
    // sqrt(A / q), not sqrt(A) / q: the design's own slope term.
    const float beta = std::sqrt(A / q);
    const float bs = beta * sn;

    float nb0 = b0, nb1 = b1, nb2 = b2, na0 = a0, na1 = a1, na2 = a2;
    switch (type)
    {
    case kLowShelf:
        nb0 = A * ((A + 1.f) - (A - 1.f) * cs + bs);
        nb1 = 2.f * A * ((A - 1.f) - (A + 1.f) * cs);
        nb2 = A * ((A + 1.f) - (A - 1.f) * cs - bs);
        na0 = (A + 1.f) + (A - 1.f) * cs + bs;
        na1 = -2.f * ((A - 1.f) + (A + 1.f) * cs);
        na2 = (A + 1.f) + (A - 1.f) * cs - bs;
        break;
    case kPeaking:
    {
        const float alpha = sn / (2.f * q);
        nb0 = 1.f + alpha * A;
        nb1 = -2.f * cs;
        nb2 = 1.f - alpha * A;
        na0 = 1.f + alpha / A;
        na1 = -2.f * cs;
        na2 = 1.f - alpha / A;
        break;
    }
    case kHighShelf:
        nb0 = A * ((A + 1.f) + (A - 1.f) * cs + bs);
        nb1 = -2.f * A * ((A - 1.f) + (A + 1.f) * cs);
        nb2 = A * ((A + 1.f) + (A - 1.f) * cs - bs);
        na0 = (A + 1.f) - (A - 1.f) * cs + bs;
        na1 = 2.f * ((A - 1.f) - (A + 1.f) * cs);
        na2 = (A + 1.f) - (A - 1.f) * cs - bs;
        break;
    default:
        // No new coefficients: the stored (already normalised) ones are divided
        // once more by the stored raw a0 below.
        break;
    }
    a0 = na0;
    b0 = nb0 / na0;
    b1 = nb1 / na0;
    b2 = nb2 / na0;
    a1 = na1 / na0;
    a2 = na2 / na0;
}

void CBiquadFilter::OperateFilter(const float* in, float* out, int count)
{
    // The previous inputs and outputs live in registers: for count >= 2 this is
    // term for term the recursion that starts from (x1, x2, y1, y2), re-reads
    // in[i-1], in[i-2] and out[i-1], out[i-2], and leaves the last two of each
    // as the state. Counts of 0 and 1 follow the same recursion.
    if (count <= 0)
        return;
    // Adding -a y is subtracting a y, exactly.
    RunDirectForm1(in, out, count, b0, b1, b2, -a1, -a2, x1, x2, y1, y2);
}

namespace
{

// K filters (2 or 4) in the lanes of one vector; unused lanes stay zero.
template <int K>
void OperateLanes(CBiquadFilter* const* f, const float* const* in, float* const* out, int count)
{
    DirectForm1<v4f> d{};
    for (int k = 0; k < K; ++k)
    {
        d.b0[k] = f[k]->b0;
        d.b1[k] = f[k]->b1;
        d.b2[k] = f[k]->b2;
        d.f1[k] = -f[k]->a1;
        d.f2[k] = -f[k]->a2;
        d.x1[k] = f[k]->x1;
        d.x2[k] = f[k]->x2;
        d.y1[k] = f[k]->y1;
        d.y2[k] = f[k]->y2;
    }
    const float* in0 = in[0];
    const float* in1 = in[1];
    const float* in2 = in[K > 2 ? 2 : 0];
    const float* in3 = in[K > 2 ? 3 : 0];
    float* out0 = out[0];
    float* out1 = out[1];
    float* out2 = out[K > 2 ? 2 : 0];
    float* out3 = out[K > 2 ? 3 : 0];
    for (int i = 0; i < count; ++i)
    {
        v4f x;
        if (K > 2)
            x = v4f{in0[i], in1[i], in2[i], in3[i]};
        else
            x = v4f{in0[i], in1[i], 0.f, 0.f};
        const v4f y = d.Step(x);
        out0[i] = y[0];
        out1[i] = y[1];
        if (K > 2)
        {
            out2[i] = y[2];
            out3[i] = y[3];
        }
    }
    for (int k = 0; k < K; ++k)
    {
        f[k]->x1 = d.x1[k];
        f[k]->x2 = d.x2[k];
        f[k]->y1 = d.y1[k];
        f[k]->y2 = d.y2[k];
    }
}
} // namespace

void CBiquadFilter::OperateFilters(CBiquadFilter* const* filters, const float* const* in,
                                   float* const* out, int numFilters, int count)
{
    if (count <= 0 || numFilters <= 0)
        return;
    if (numFilters == 2)
        OperateLanes<2>(filters, in, out, count);
    else if (numFilters == 4)
        OperateLanes<4>(filters, in, out, count);
    else if (numFilters == 3)
    {
        OperateLanes<2>(filters, in, out, count);
        filters[2]->OperateFilter(in[2], out[2], count);
    }
    else
        for (int k = 0; k < numFilters; ++k)
            filters[k]->OperateFilter(in[k], out[k], count);
}
