// Second-order Butterworth low-pass or high-pass by the bilinear transform
// without pre-warping; one channel, with its own lock (third in lock order).
#pragma once

#include "CCriticalSection.h"

class CIIRFilter
{
public:
    CIIRFilter();
    virtual ~CIIRFilter() = default;

    // Under the lock: stores the three values and computes the coefficients.
    void SetParams(float samplePeriod, float cutoff, bool lowPass);
    // The same formulas from the stored period and cut-off, without the lock.
    void CalcLPFCoefficients();
    void CalcHPFCoefficients();
    // Filters count samples under the lock, like CBiquadFilter::OperateFilter
    // (counts of 0 and 1 included) with the feedback terms added.
    void OperateEqualizer(const float* in, float* out, int count);
    void Reset();
    bool IsStateBad() const;

    float samplePeriod = 1.f / 44100.f;
    float cutoff = 1000.f;
    bool lowPass = true;
    // fb1, fb2 are the feedback terms already negated (added in the recursion).
    float fb1 = 0.f, fb2 = 0.f, b0 = 1.f, b1 = 0.f, b2 = 0.f;
    float y1, y2, x1, x2;

private:
    // The feedback terms, shared by both types; W2 and D for the rest.
    void CalcFeedback(float* W2, float* D);
    // The filter processor runs both channels' recursions in one loop under
    // this lock (same arithmetic as OperateEqualizer).
    friend class CVRXLPF;
    CCriticalSection m_Lock;
};
