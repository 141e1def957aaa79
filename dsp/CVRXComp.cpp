// Stereo-linked feed-forward compressor. The gain computer works on the key's
// level above threshold in dB, smooths it with attack/release coefficients and
// turns it back into a linear gain with the ratio's slope.
#include "CVRXComp.h"
#include "CompressorKernel.h"

#include <cmath>
#include <cstring>

double lin2dB(double x)
{
    return std::log(x) * 8.685889638065037;
}

double dB2lin(double d)
{
    return std::exp(d * 0.11512925464970228);
}

CVRXComp::CVRXComp() : AttRelEnvelope(10.0, 100.0, 44100.0)
{
    outputLevel = 1.f;
    inputLevel = 1.f;
    active = true;
    attack.setTc(0.0);
    setRelease(10.0);
    setThresh(0.0);
    envelopeDb = 1e-25;
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
    m_QuietKeyLimit = std::exp(dB / 8.685889638065037) * 0.999;
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
    envelopeDb = 1e-25;
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
        envelopeDb = 1e-25;
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

void CVRXComp::process(float** in, float** out, float** key, int count, bool externalKey)
{
    if (!in || !out || !key)
        return;
    CSingleLock lock(m_Lock);
    // Overwritten by the first sample; an inactive compressor reports it.
    gainReduction = -40.0f;
    if (!active)
    {
        for (int ch = 0; ch < 2; ++ch)
            if (count > 0 && out[ch] != in[ch])
                std::memmove(out[ch], in[ch], sizeof(float) * (size_t)count);
        return;
    }
    if (count <= 0)
        return;

    const float* keyL = key[0];
    const float* keyR = key[1];
    // The two key channels are linked: the louder one sets the level.
    auto keyAt = [keyL, keyR](int i)
    {
        const float kl = std::fabs(keyL[i]);
        const float kr = std::fabs(keyR[i]);
        return (double)(kl < kr ? kr : kl);
    };
    const double g = compkernel::Dispatch(externalKey, autoThreshold != 0.f, KernelParams(),
                                          envelopeDb, in[0], in[1], out[0], out[1], count, keyAt);
    gainReduction = (float)g;
}
