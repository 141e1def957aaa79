// Stereo-linked feed-forward compressor with an external or internal key.
// Levels are linear; the gain computer works in dB with lin2dB/dB2lin (exact
// 20*log10). Setters and a whole block take the compressor's lock.
#pragma once

#include "AttRelEnvelope.h"
#include "DspConstants.h"

namespace compkernel
{
struct Params;
}

double lin2dB(double x); // ln(x) * kDbPerNeper, no guard for x <= 0
double dB2lin(double d); // exp(d * kNeperPerDb)

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
    void process(float** in, float** out, float** key, int count, bool externalKey);
    // Per-sample gain computer: scales left and right by the gain.
    void process(double& left, double& right, double keyLevel, bool externalKey);

    // Clears an envelope that has become non-finite.
    virtual void ResetIfBad();

protected:
    // Start of a block, under the lock: reports -40 until a sample is
    // processed, copies the audio through while inactive. False when there is
    // nothing more to do.
    bool BeginBlock(float** in, float** out, float** key, int count);
    // The block loop proper, under the lock, on a block BeginBlock let
    // through; returns the last gain.
    virtual double ProcessKeyed(float** in, float** out, const float* keyL, const float* keyR,
                                int count, bool externalKey);

    // The per-sample gain computer with the current parameters (CVRXComp.cpp).
    struct GainComputer;
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
    double envelopeDb = kTinyOffset;
    double m_QuietKeyLimit = 0.0; // linear, from thresholdDb
};
