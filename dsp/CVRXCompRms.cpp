// The compressor keyed by a running mean square of the product of the two key
// channels (window 5 ms by default).
#include "CVRXCompRms.h"
#include "CompressorKernel.h"

#include <cmath>

CVRXCompRms::CVRXCompRms() : CVRXComp(), window(5.0, 44100.0), meanSquare(kTinyOffset) {}

void CVRXCompRms::setSampleRate(double rate)
{
    CSingleLock lock(m_Lock);
    attack.setSampleRate(rate);
    release.setSampleRate(rate);
    window.setSampleRate(rate);
}

void CVRXCompRms::initRuntime()
{
    CSingleLock lock(m_Lock);
    envelopeDb = kTinyOffset;
    meanSquare = kTinyOffset;
}

void CVRXCompRms::setWindow(double ms)
{
    CSingleLock lock(m_Lock);
    window.setTc(ms);
}

void CVRXCompRms::ResetIfBad()
{
    CSingleLock lock(m_Lock);
    if (!std::isfinite(envelopeDb))
        envelopeDb = kTinyOffset;
    if (!std::isfinite(meanSquare))
        meanSquare = kTinyOffset;
}

double CVRXCompRms::ProcessKeyed(float** in, float** out, const float* keyL, const float* keyR,
                                 int count, bool externalKey)
{
    const double windowCoef = window.getCoef();
    double ms = meanSquare;
    auto keyAt = [keyL, keyR, windowCoef, &ms](int i)
    {
        // The product of the two key channels (in float, doubled), not a sum
        // of squares: negative when the channels differ in sign.
        const double p = (double)(2.f * keyL[i] * keyR[i]) + kTinyOffset;
        const double previous = ms;
        ms = (previous - p) * windowCoef + p;
        // The first sample after a reset takes the instantaneous value. A
        // negative mean square counts as silence (sqrt of 0, never NaN).
        const double square = previous == kTinyOffset ? p : ms;
        return std::sqrt(square > 0.0 ? square : 0.0);
    };
    const double g = compkernel::Dispatch(externalKey, autoThreshold != 0.f, KernelParams(),
                                          envelopeDb, in[0], in[1], out[0], out[1], count, keyAt);
    meanSquare = ms;
    return g;
}
