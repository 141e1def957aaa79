// The peak and RMS compressors' block path against a plain reference written
// from the formulas, gain points at known levels, the inactive block, and
// bad-state recovery.
#include "CVRXComp.h"
#include "CVRXCompRms.h"
#include "DspTestUtil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace dsptest;

namespace
{
double Coef(double ms, double rate)
{
    return std::exp(-1000.0 / (ms * 1.44 * rate));
}

// Exposes the run-time state for the tests.
struct CompProbe : CVRXComp
{
    double Envelope() const { return envelopeDb; }
};

struct RmsProbe : CVRXCompRms
{
    double MeanSquare() const { return meanSquare; }
};

// One sample of `audio` on both channels keyed by `key`; returns the gain.
float Gain(CVRXComp& c, float audio, double key, bool external = false)
{
    float a = audio, k = (float)key, o[2];
    float* in[2] = {&a, &a};
    float* out[2] = {&o[0], &o[1]};
    float* keys[2] = {&k, &k};
    c.process(in, out, keys, 1, external);
    return c.get_GainReductionLevel(nullptr);
}

// The gain computer as written, with no shortcuts; returns the gain.
struct ReferenceComp
{
    double thr = 0.0, ratio = 1.0, att = 0.0, rel = 0.0;
    bool autoThreshold = false;
    double env = 1e-25;

    double Step(double l, double r, double key, bool external)
    {
        double x = std::fabs(key) + 1e-25;
        double over = std::max(0.0, std::log(x) * 8.685889638065037 - thr);
        if (external && 4.0 * x < std::max(std::fabs(l), std::fabs(r)))
            over = 0.0;
        over = over + 1e-25;
        double target = (autoThreshold && env < over) ? 20.0 : over;
        env = target + (env - target) * (target > env ? att : rel);
        return std::exp((1.0 / ratio - 1.0) * (env - 1e-25) * 0.11512925464970228);
    }
};
} // namespace

// The shortcuts of the block loop (no log for keys under threshold, no exp for
// exponents too small to move it off 1) must not change a single bit, and the
// block length must not matter. The RMS key is a running mean square of the
// doubled key product (window 5 ms); the first sample takes the product itself.
TEST(Compressor, BlockMatchesReferenceBitForBitInAnyChunks)
{
    struct Case
    {
        double thr, ratio, att, rel;
        bool autoThreshold, external, rms;
        float inLevel, outLevel;
        int chunk;
    };
    const Case cases[] = {{-30.0, 4.0, 0.0, 10.0, false, true, false, 1.f, 1.f, 256},
                          {-12.0, 64.0, 1.0, 400.0, true, false, false, 0.5f, 1.5f, 31},
                          {-60.0, 2.5, 20.0, 4000.0, true, true, false, 2.f, 1.f, 1},
                          {-30.0, 4.0, 2.0, 80.0, false, false, true, 1.f, 1.f, 128}};
    // Audio with a key that swings from far below to far above any threshold
    // used here, loud at the start; a silent last quarter lets the envelope
    // decay all the way.
    const int n = 60000;
    std::vector<float> l = Noise(n, 0.9f, 1u), r = Noise(n, 0.9f, 2u), kl = Noise(n, 1.f, 3u);
    std::vector<float> kr = Noise(n, 1.f, 4u);
    for (int i = 0; i < n; ++i)
    {
        const float swing = (float)std::pow(10.0, -1.7 + 1.8 * std::sin(i * 0.003 + 1.5));
        kl[(size_t)i] *= i >= n - n / 4 ? 0.f : swing;
        kr[(size_t)i] *= i >= n - n / 4 ? 0.f : swing * 0.7f;
    }
    for (const Case& k : cases)
    {
        // The RMS rows take a correlated key: the product is a square.
        std::vector<float>& keyR = k.rms ? kl : kr;
        CVRXComp peak;
        CVRXCompRms rms;
        CVRXComp& c = k.rms ? rms : peak;
        c.setSampleRate(48000.0);
        c.setThresh(k.thr);
        c.setRatio(k.ratio);
        c.setAttack(k.att);
        c.setRelease(k.rel);
        c.set_AutoThreshold(k.autoThreshold ? 1.f : 0.f);
        c.set_InputLevel(k.inLevel);
        c.set_OutputLevel(k.outLevel);
        std::vector<float> ol, orr, wantL(n), wantR(n);
        RunStereo(l, r, ol, orr, k.chunk,
                  [&](float** in, float** out, size_t done, int count)
                  {
                      float* key[2] = {kl.data() + done, keyR.data() + done};
                      c.process(in, out, key, count, k.external);
                  });

        ReferenceComp ref{k.thr, k.ratio, Coef(k.att, 48000.0), Coef(k.rel, 48000.0),
                          k.autoThreshold};
        double g = 0.0, ms = 1e-25;
        int reduced = 0;
        for (size_t i = 0; i < (size_t)n; ++i)
        {
            const double xl = (double)l[i] * (double)k.inLevel;
            const double xr = (double)r[i] * (double)k.inLevel;
            double key = std::max(std::fabs(kl[i]), std::fabs(keyR[i]));
            if (k.rms)
            {
                const double p = (double)(2.f * kl[i] * keyR[i]) + 1e-25, prev = ms;
                ms = (prev - p) * Coef(5.0, 48000.0) + p;
                key = std::sqrt(prev == 1e-25 ? p : ms);
            }
            g = ref.Step(xl, xr, key, k.external);
            reduced += g < 1.0;
            wantL[i] = (float)((double)k.outLevel * (xl * g));
            wantR[i] = (float)((double)k.outLevel * (xr * g));
        }
        EXPECT_EQ(ol, wantL) << "case " << (&k - cases);
        EXPECT_EQ(orr, wantR) << "case " << (&k - cases);
        EXPECT_EQ(c.get_GainReductionLevel(nullptr), (float)g);
        EXPECT_GT(reduced, 1000) << "the signal must exercise it";
    }
}

TEST(Compressor, GainComputerAtKnownLevels)
{
    // Ratio 1: gain exactly 1 for any level.
    CVRXComp flat;
    flat.setThresh(-80.0);
    EXPECT_EQ(Gain(flat, 0.5f, 1.0), 1.f);
    // Attack 0: a key 20 dB over at ratio 4 gives -15 dB at once; a silent key
    // (over = 1e-25) then lets the envelope fall with the release coefficient.
    CompProbe c;
    c.setThresh(-40.0);
    c.setRatio(4.0);
    c.setRelease(20.0);
    EXPECT_NEAR(Gain(c, 1.f, 0.1), dB2lin(-15.0), 1e-6);
    const double over = c.Envelope();
    EXPECT_NEAR(over, 20.0, 1e-6);
    Gain(c, 1.f, 0.0);
    EXPECT_EQ(c.Envelope(), 1e-25 + (over - 1e-25) * Coef(20.0, 44100.0));
    // External key more than 4x below the louder audio channel: no reduction;
    // just under 4x it reduces.
    for (auto [key, reduces] : {std::make_pair(0.8 / 4.1, false), std::make_pair(0.8 / 3.9, true)})
    {
        CVRXComp e;
        e.setThresh(-60.0);
        e.setRatio(10.0);
        EXPECT_EQ(Gain(e, 0.8f, key, true) < 0.5f, reduces) << key;
        double l = 0.8, r = -0.1; // the per-sample form, the same envelope again
        e.process(l, r, key, true);
        EXPECT_EQ(l < 0.5, reduces) << key;
    }
    // AutoThreshold: while the envelope lies below the level over threshold
    // the target is a fixed 20 dB, so with attack 0 a key 1 dB over reduces
    // as much as one 20.5 dB over (-15 dB at ratio 4); then it releases
    // (default release 10 ms).
    for (double keyDb : {-29.0, -9.5})
    {
        CompProbe a;
        a.setThresh(-30.0);
        a.setRatio(4.0);
        a.set_AutoThreshold(1.f);
        EXPECT_NEAR(Gain(a, 0.01f, dB2lin(keyDb)), dB2lin(-15.0), 1e-6);
        EXPECT_EQ(a.Envelope(), 20.0);
        Gain(a, 0.01f, dB2lin(keyDb));
        EXPECT_NEAR(a.Envelope(), keyDb < -20 ? 1.0 + 19.0 * Coef(10.0, 44100.0) : 20.0, 1e-5);
    }
}

TEST(Compressor, InactiveBlockAndNonFiniteEnvelope)
{
    CompProbe c;
    EXPECT_EQ(c.get_GainReductionLevel(nullptr), 0.f); // nothing processed yet
    c.setThresh(-60.0);
    c.setRatio(8.0);
    c.set_Activate(0.f);
    std::vector<float> l = Noise(64, 1.f), r = Noise(64, 1.f, 5u), ol(64), orr(64);
    float* in[2] = {l.data(), r.data()};
    float* out[2] = {ol.data(), orr.data()};
    c.process(in, out, in, 64, false);
    EXPECT_EQ(ol, l); // copied, reduction shown as -40
    EXPECT_EQ(orr, r);
    EXPECT_EQ(c.get_GainReductionLevel(nullptr), -40.f);
    // An empty block while active also leaves -40, the first sample never came.
    c.set_Activate(1.f);
    c.process(in, out, in, 0, false);
    EXPECT_EQ(c.get_GainReductionLevel(nullptr), -40.f);
    // An infinite key poisons the envelope; ResetIfBad brings back 1e-25.
    Gain(c, 0.5f, INFINITY);
    EXPECT_FALSE(std::isfinite(c.Envelope()));
    c.ResetIfBad();
    EXPECT_EQ(c.Envelope(), 1e-25);
}

TEST(CompressorRms, AntiCorrelatedKeyIsSilentUntilInitRuntime)
{
    RmsProbe c;
    c.setThresh(-60.0);
    c.setRatio(4.0);
    std::vector<float> a(512, 0.5f), kl(512, 0.5f), kr(512, -0.5f), out(512);
    float *in[2] = {a.data(), a.data()}, *o[2] = {out.data(), out.data()};
    float* key[2] = {kl.data(), kr.data()};
    c.process(in, o, key, 512, false);
    // A negative mean square counts as a silent key: no reduction, no NaN.
    EXPECT_LT(c.MeanSquare(), 0.0);
    EXPECT_EQ(out, a);
    c.initRuntime();
    EXPECT_EQ(c.MeanSquare(), 1e-25);
}
