// Stereo-linked feed-forward compressor. The gain computer works on the key's
// level above threshold in dB, smooths it with attack/release coefficients and
// turns it back into a linear gain with the ratio's slope.
#include "CVRXComp.h"
#include "CompressorKernel.h"

#include <algorithm>
#include <cmath>
#include <cstring>

double lin2dB(double x)
{
    return std::log(x) * kDbPerNeper;
}

double dB2lin(double d)
{
    return std::exp(d * kNeperPerDb);
}

// The gain computer, one sample at a time, written as plainly as it reads:
// Step advances the envelope (dB above threshold) and returns the linear gain.
// The block loop (CompressorKernel.h) does the same operations in the same order.
struct CVRXComp::GainComputer
{
    double thresholdDb;
    double quietKeyLimit; // keys below this are certainly under threshold
    double slope;         // 1 / ratio - 1
    double attackCoef;
    double releaseCoef;
    bool autoThreshold;

    // exp of an exponent below 2^-54 in magnitude rounds to exactly 1.
    static constexpr double kTinyExponent = 0x1p-54;

    double Step(double& env, double left, double right, double keyLevel, bool externalKey) const
    {
        const double x = std::fabs(keyLevel) + kTinyOffset;
        double over = 0.0;
        if (!(x < quietKeyLimit))
        {
            const double d = std::log(x) * kDbPerNeper - thresholdDb;
            over = d > 0.0 ? d : 0.0; // max(0, d)
        }
        // An external key more than ~12 dB below the louder audio channel
        // is not sibilance of this signal.
        if (externalKey && kExternalKeyFactor * x < std::max(std::fabs(left), std::fabs(right)))
            over = 0.0;
        over = over + kTinyOffset;
        const double target = autoThreshold && env < over ? kAutoThresholdTargetDb : over;
        const double coef = target > env ? attackCoef : releaseCoef;
        env = target + (env - target) * coef;
        const double e = slope * (env - kTinyOffset) * kNeperPerDb;
        return std::fabs(e) < kTinyExponent ? 1.0 : std::exp(e);
    }
};

CVRXComp::CVRXComp() : AttRelEnvelope(10.0, 100.0, 44100.0)
{
    outputLevel = 1.f;
    inputLevel = 1.f;
    active = true;
    attack.setTc(0.0);
    setRelease(10.0);
    setThresh(0.0);
    envelopeDb = kTinyOffset;
    setRatio(1.0);
    gainReduction = 0.f;
}

void CVRXComp::setThresh(double dB)
{
    CSingleLock lock(m_Lock);
    thresholdDb = dB;
    // Keys below this level are certainly below threshold: their level in dB
    // would only be clipped to 0 by the max, so the block loop skips the log.
    // The 0.999 factor (about -0.009 dB) is far beyond the log's rounding.
    m_QuietKeyLimit = std::exp(dB / kDbPerNeper) * 0.999;
    if (!(m_QuietKeyLimit >= 0.0))
        m_QuietKeyLimit = 0.0; // NaN threshold: never skip
}

void CVRXComp::setRatio(double r)
{
    CSingleLock lock(m_Lock);
    ratio = r;
}

void CVRXComp::initRuntime()
{
    CSingleLock lock(m_Lock);
    envelopeDb = kTinyOffset;
}

void CVRXComp::set_Activate(float v)
{
    CSingleLock lock(m_Lock);
    active = v != 0.f;
}

void CVRXComp::set_InputLevel(float linear)
{
    CSingleLock lock(m_Lock);
    inputLevel = linear;
}

void CVRXComp::set_OutputLevel(float linear)
{
    CSingleLock lock(m_Lock);
    outputLevel = linear;
}

void CVRXComp::set_AutoThreshold(float v)
{
    CSingleLock lock(m_Lock);
    autoThreshold = v;
}

float CVRXComp::get_GainReductionLevel(float* out)
{
    CSingleLock lock(m_Lock);
    if (out)
        *out = gainReduction;
    return gainReduction;
}

void CVRXComp::ResetIfBad()
{
    CSingleLock lock(m_Lock);
    if (!std::isfinite(envelopeDb))
        envelopeDb = kTinyOffset;
}

CVRXComp::GainComputer CVRXComp::MakeGainComputer() const
{
    GainComputer gc;
    gc.thresholdDb = thresholdDb;
    gc.quietKeyLimit = m_QuietKeyLimit;
    gc.slope = 1.0 / ratio - 1.0;
    gc.attackCoef = attack.getCoef();
    gc.releaseCoef = release.getCoef();
    gc.autoThreshold = autoThreshold != 0.f;
    return gc;
}

compkernel::Params CVRXComp::KernelParams() const
{
    return {thresholdDb,       m_QuietKeyLimit,    1.0 / ratio - 1.0,  attack.getCoef(),
            release.getCoef(), (double)inputLevel, (double)outputLevel};
}

void CVRXComp::process(double& left, double& right, double keyLevel, bool externalKey)
{
    CSingleLock lock(m_Lock);
    const GainComputer gc = MakeGainComputer();
    const double g = gc.Step(envelopeDb, left, right, keyLevel, externalKey);
    left *= g;
    right *= g;
    gainReduction = (float)g;
}

bool CVRXComp::BeginBlock(float** in, float** out, float** key, int count)
{
    // Overwritten by the first sample; an inactive compressor reports it.
    gainReduction = -40.0f;
    if (!active)
    {
        for (int ch = 0; ch < 2; ++ch)
            if (count > 0 && out[ch] != in[ch])
                std::memmove(out[ch], in[ch], sizeof(float) * (size_t)count);
        return false;
    }
    return key && count > 0;
}

void CVRXComp::process(float** in, float** out, float** key, int count, bool externalKey)
{
    if (!in || !out)
        return;
    CSingleLock lock(m_Lock);
    if (BeginBlock(in, out, key, count))
        gainReduction = (float)ProcessKeyed(in, out, key[0], key[1], count, externalKey);
}

double CVRXComp::ProcessKeyed(float** in, float** out, const float* keyL, const float* keyR,
                              int count, bool externalKey)
{
    // The two key channels are linked: the louder one sets the level.
    auto keyAt = [keyL, keyR](int i)
    {
        const float kl = std::fabs(keyL[i]);
        const float kr = std::fabs(keyR[i]);
        return (double)(kl < kr ? kr : kl);
    };
    return compkernel::Dispatch(externalKey, autoThreshold != 0.f, KernelParams(), envelopeDb,
                                in[0], in[1], out[0], out[1], count, keyAt);
}
