// Second-order Butterworth low-pass/high-pass, bilinear transform without
// pre-warping, direct form I with the feedback terms stored negated.
#include "CIIRFilter.h"
#include "DirectForm1.h"

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
void CIIRFilter::CalcFeedback(float* W2, float* D)
{
    const float W = cutoff * 6.283184f * samplePeriod;
    const float K = 2.828427f * W;
    *W2 = W * W;
    *D = K + 4.f + *W2;
    fb1 = (8.f - 2.f * *W2) / *D;
    fb2 = -(4.f - K + *W2) / *D;
}

void CIIRFilter::CalcLPFCoefficients()
{
    float W2, D;
    CalcFeedback(&W2, &D);
    b0 = W2 / D;
    b1 = 2.f * W2 / D;
    b2 = W2 / D;
}

void CIIRFilter::CalcHPFCoefficients()
{
    float W2, D;
    CalcFeedback(&W2, &D);
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
    RunDirectForm1(in, out, count, b0, b1, b2, fb1, fb2, x1, x2, y1, y2);
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
