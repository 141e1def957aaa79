// Second-order Butterworth low-pass/high-pass, bilinear transform without
// pre-warping, direct form I with the feedback terms stored negated.
#include "CIIRFilter.h"

#include <cmath>

CIIRFilter::CIIRFilter() : y1(0.f), y2(0.f), x1(0.f), x2(0.f) {}

void CIIRFilter::SetParams(float period, float cutoffHz, bool isLowPass)
{
    CSingleLock lock(m_Lock);
    samplePeriod = period;
    cutoff = cutoffHz;
    lowPass = isLowPass;
    if (lowPass)
        CalcLPFCoefficients();
    else
        CalcHPFCoefficients();
}

// W: cut-off in radians per sample (no pre-warp); K = 2*sqrt(2)*W; D: the
// common denominator of the bilinear transform with T = 2.
void CIIRFilter::CalcLPFCoefficients()
{
    const float W = cutoff * 6.283184f * samplePeriod;
    const float K = 2.828427f * W;
    const float W2 = W * W;
    const float D = K + 4.f + W2;
    fb1 = (8.f - 2.f * W2) / D;
    fb2 = -(4.f - K + W2) / D;
    b0 = W2 / D;
    b1 = 2.f * W2 / D;
    b2 = W2 / D;
}

void CIIRFilter::CalcHPFCoefficients()
{
    const float W = cutoff * 6.283184f * samplePeriod;
    const float K = 2.828427f * W;
    const float W2 = W * W;
    const float D = K + 4.f + W2;
    fb1 = (8.f - 2.f * W2) / D;
    fb2 = -(4.f - K + W2) / D;
    b0 = 4.f / D;
    b1 = -2.f * (4.f / D);
    b2 = 4.f / D;
}

void CIIRFilter::OperateEqualizer(const float* in, float* out, int count)
{
    if (count <= 0)
        return;
    CSingleLock lock(m_Lock);
    // State in registers; for count >= 2 identical, term for term, to the
    // recursion that re-reads in[i-1], in[i-2], out[i-1], out[i-2].
    const float c0 = b0, c1 = b1, c2 = b2, f1 = fb1, f2 = fb2;
    float xm1 = x1, xm2 = x2, ym1 = y1, ym2 = y2;
    for (int i = 0; i < count; ++i)
    {
        const float x = in[i];
        const float y = c0 * x + c1 * xm1 + c2 * xm2 + f1 * ym1 + f2 * ym2;
        out[i] = y;
        xm2 = xm1;
        xm1 = x;
        ym2 = ym1;
        ym1 = y;
    }
    x1 = xm1;
    x2 = xm2;
    y1 = ym1;
    y2 = ym2;
}

void CIIRFilter::Reset()
{
    CSingleLock lock(m_Lock);
    y1 = y2 = x1 = x2 = 0.f;
}

bool CIIRFilter::IsStateBad() const
{
    return !std::isfinite(x1) || !std::isfinite(x2) || !std::isfinite(y1) || !std::isfinite(y2);
}
