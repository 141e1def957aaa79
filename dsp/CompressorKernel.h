// The compressor's block loop, shared by the peak and the RMS compressor.
// Same operations in the same order as CVRXComp::GainComputer::Step, written
// for speed: the two switches are template arguments and the envelope and the
// parameters live in registers. The attack/release choice stays a branch: it
// is well predicted, and a predicted branch lets the processor start the next
// sample before the envelope's subtract-multiply-add has finished, which a
// branch-free select would not. Two more branches skip work whose result is
// known exactly: the log of a key certainly below threshold, and the exp of an
// exponent too small to move it off 1.
#pragma once

#include "DspConstants.h"

#include <cmath>

namespace compkernel
{
struct Params
{
    double thresholdDb;
    double quietKeyLimit;
    double slope; // 1 / ratio - 1
    double attackCoef;
    double releaseCoef;
    double inputLevel;
    double outputLevel;
};

// keyAt(i) gives the key level of sample i (called once per sample, in order).
// Returns the last gain; env is the envelope in dB, updated.
template <bool kExternalKey, bool kAutoThreshold, class KeyAt>
double Run(const Params& p, double& env, const float* inL, const float* inR, float* outL,
           float* outR, int count, KeyAt keyAt)
{
    const double thr = p.thresholdDb, quiet = p.quietKeyLimit, slope = p.slope;
    const double att = p.attackCoef, rel = p.releaseCoef;
    const double inLevel = p.inputLevel, outLevel = p.outputLevel;
    double e0 = env;
    double g = 1.0;
    // In pieces: first the envelope and the exponents of a piece, then their
    // exps back to back, which keeps the calls' register spills out of the
    // envelope loop.
    constexpr int kPiece = 64;
    double exponent[kPiece];
    for (int base = 0; base < count; base += kPiece)
    {
        const int n = count - base < kPiece ? count - base : kPiece;
        for (int j = 0; j < n; ++j)
        {
            const int i = base + j;
            const double x = std::fabs(keyAt(i)) + kTinyOffset;
            // The external-key rule zeroes the level whatever it is, so its
            // test comes first and spares the log.
            bool zero = !(x >= quiet);
            if (kExternalKey)
            {
                // Compared with the audio as scaled by the input level.
                const double al = std::fabs((double)inL[i] * inLevel);
                const double ar = std::fabs((double)inR[i] * inLevel);
                zero = zero || kExternalKeyFactor * x < (al < ar ? ar : al);
            }
            double over = 0.0;
            if (!zero)
            {
                const double d = std::log(x) * kDbPerNeper - thr;
                over = d > 0.0 ? d : 0.0; // max(0, d)
            }
            over = over + kTinyOffset;
            const double target = kAutoThreshold && e0 < over ? kAutoThresholdTargetDb : over;
            if (target > e0)
                e0 = target + (e0 - target) * att;
            else
                e0 = target + (e0 - target) * rel;
            exponent[j] = slope * (e0 - kTinyOffset) * kNeperPerDb;
        }
        for (int j = 0; j < n; ++j)
        {
            const int i = base + j;
            const double e = exponent[j];
            g = std::fabs(e) < 0x1p-54 ? 1.0 : std::exp(e);
            double l = (double)inL[i] * inLevel;
            double r = (double)inR[i] * inLevel;
            l *= g;
            r *= g;
            outL[i] = (float)(outLevel * l);
            outR[i] = (float)(outLevel * r);
        }
    }
    env = e0;
    return g;
}

// The four combinations of the two switches.
template <class KeyAt>
double Dispatch(bool externalKey, bool autoThreshold, const Params& p, double& env,
                const float* inL, const float* inR, float* outL, float* outR, int count,
                KeyAt keyAt)
{
    if (externalKey)
        return autoThreshold ? Run<true, true>(p, env, inL, inR, outL, outR, count, keyAt)
                             : Run<true, false>(p, env, inL, inR, outL, outR, count, keyAt);
    return autoThreshold ? Run<false, true>(p, env, inL, inR, outL, outR, count, keyAt)
                         : Run<false, false>(p, env, inL, inR, outL, outR, count, keyAt);
}
} // namespace compkernel
