// Stereo-linked feed-forward compressor with an external or internal key.
// Levels are linear; the gain computer works in dB with lin2dB/dB2lin (exact
// 20*log10). Setters and a whole block take the compressor's lock.
#pragma once

#include "AttRelEnvelope.h"

namespace compkernel
{
struct Params;
}

#include <algorithm>
#include <cmath>

double lin2dB(double x); // ln(x) * 8.685889638065037, no guard for x <= 0
double dB2lin(double d); // exp(d * 0.11512925464970228)

class CVRXComp : public AttRelEnvelope
{
public:
    CVRXComp();

    virtual void setThresh(double dB);
    virtual void setRatio(double ratio);
    virtual double getThresh() const { return thresholdDb; }
    virtual double getRatio() const { return ratio; }
    virtual void initRuntime(); // envelope back to 1e-25

    void set_Activate(float v); // active = v != 0
    void set_InputLevel(float linear);
    void set_OutputLevel(float linear);
    void set_AutoThreshold(float v);
    // Linear gain applied to the last sample of the last block (1 = none);
    // -40 after a block while inactive.
    float get_GainReductionLevel(float* out);

    // Block operation on two channels; key is read only.
    virtual void process(float** in, float** out, float** key, int count, bool externalKey);
    // Per-sample gain computer: scales left and right by the gain.
    void process(double& left, double& right, double keyLevel, bool externalKey);

    // Clears an envelope that has become non-finite.
    virtual void ResetIfBad();

protected:
    // The per-sample gain computer with the parameters of one block held in
    // locals. Step advances the envelope (dB above threshold) by one sample
    // and returns the linear gain.
    struct GainComputer
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
            const double x = std::fabs(keyLevel) + 1e-25;
            double over = 0.0;
            if (!(x < quietKeyLimit))
            {
                const double d = std::log(x) * 8.685889638065037 - thresholdDb;
                over = d > 0.0 ? d : 0.0; // max(0, d)
            }
            // An external key more than ~12 dB below the louder audio channel
            // is not sibilance of this signal.
            if (externalKey && 4.0 * x < std::max(std::fabs(left), std::fabs(right)))
                over = 0.0;
            over = over + 1e-25;
            const double target = autoThreshold && env < over ? 20.0 : over;
            const double coef = target > env ? attackCoef : releaseCoef;
            env = target + (env - target) * coef;
            const double e = slope * (env - 1e-25) * 0.11512925464970228;
            return std::fabs(e) < kTinyExponent ? 1.0 : std::exp(e);
        }
    };
    GainComputer MakeGainComputer() const;
    // The same parameters for the block loop (CompressorKernel.h).
    compkernel::Params KernelParams() const;

    bool active = true;
    float outputLevel = 1.f;
    float inputLevel = 1.f;
    float gainReduction = 0.f;
    float autoThreshold = 0.f;
    double thresholdDb = 0.0;
    double ratio = 1.0;
    double envelopeDb = 1e-25;
    double m_QuietKeyLimit = 0.0; // linear, from thresholdDb
};
