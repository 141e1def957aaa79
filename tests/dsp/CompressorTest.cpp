// Envelope coefficients, the compressor's gain computer against a plain
// reference written from its formulas, block behaviour and the RMS key.
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
    double ReleaseCoef() const { return release.getCoef(); }
};

struct RmsProbe : CVRXCompRms
{
    double WindowCoef() const { return window.getCoef(); }
    double MeanSquare() const { return meanSquare; }
};

// The gain computer as written, with no shortcuts.
struct ReferenceComp
{
    double thr = 0.0, ratio = 1.0, att = 0.0, rel = 0.0;
    bool autoThreshold = false;
    double env = 1e-25;

    double Step(double& l, double& r, double key, bool external)
    {
        double x = std::fabs(key) + 1e-25;
        double over = std::max(0.0, std::log(x) * 8.685889638065037 - thr);
        if (external && 4.0 * x < std::max(std::fabs(l), std::fabs(r)))
            over = 0.0;
        over = over + 1e-25;
        double target = (autoThreshold && env < over) ? 20.0 : over;
        env = target + (env - target) * (target > env ? att : rel);
        double g = std::exp((1.0 / ratio - 1.0) * (env - 1e-25) * 0.11512925464970228);
        l *= g;
        r *= g;
        return g;
    }
};

// Audio with a key that swings from far below to far above any threshold
// used here; a silent last quarter lets the envelope decay all the way.
struct Signal
{
    std::vector<float> l, r, kl, kr;
    explicit Signal(int n)
        : l(Noise(n, 0.9f, 1u)), r(Noise(n, 0.9f, 2u)), kl(Noise(n, 1.f, 3u)), kr(Noise(n, 1.f, 4u))
    {
        for (int i = 0; i < n; ++i)
        {
            float swing = (float)std::pow(10.0, -3.5 + 3.6 * (0.5 + 0.5 * std::sin(i * 0.003)));
            bool silent = i >= n - n / 4;
            kl[(size_t)i] *= silent ? 0.f : swing;
            kr[(size_t)i] *= silent ? 0.f : swing * 0.7f;
        }
    }
};

void RunBlocks(CVRXComp& c, Signal& s, std::vector<float>& ol, std::vector<float>& orr, int chunk,
               bool external)
{
    RunStereo(s.l, s.r, ol, orr, chunk,
              [&](float** in, float** out, size_t done, int count)
              {
                  float* key[2] = {s.kl.data() + done, s.kr.data() + done};
                  c.process(in, out, key, count, external);
              });
}
} // namespace

// The shortcuts of the block loop (no log for keys under threshold, no exp for
// exponents too small to move it off 1) must not change a single bit, and the
// block length must not matter.
TEST(Compressor, BlockMatchesReferenceBitForBitInAnyChunks)
{
    struct Case
    {
        double thr, ratio, att, rel;
        bool autoThreshold, external;
        float inLevel, outLevel;
        int chunk;
    };
    const Case cases[] = {{-30.0, 4.0, 0.0, 10.0, false, true, 1.f, 1.f, 256},
                          {-30.0, 4.0, 5.0, 50.0, false, false, 1.f, 1.f, 1},
                          {-12.0, 64.0, 1.0, 400.0, true, false, 0.5f, 1.5f, 31},
                          {-60.0, 2.5, 20.0, 4000.0, true, true, 1.f, 1.f, 2},
                          {0.0, 1.0, 0.0, 10.0, false, true, 1.f, 1.f, 255}};
    for (const Case& k : cases)
    {
        Signal s(60000);
        CVRXComp c;
        c.setSampleRate(48000.0);
        c.setThresh(k.thr);
        c.setRatio(k.ratio);
        c.setAttack(k.att);
        c.setRelease(k.rel);
        c.set_AutoThreshold(k.autoThreshold ? 1.f : 0.f);
        c.set_InputLevel(k.inLevel);
        c.set_OutputLevel(k.outLevel);
        std::vector<float> ol, orr;
        RunBlocks(c, s, ol, orr, k.chunk, k.external);

        ReferenceComp ref{k.thr, k.ratio, Coef(k.att, 48000.0), Coef(k.rel, 48000.0),
                          k.autoThreshold};
        double g = 0.0;
        int reduced = 0;
        for (size_t i = 0; i < s.l.size(); ++i)
        {
            double l = (double)s.l[i] * (double)k.inLevel;
            double r = (double)s.r[i] * (double)k.inLevel;
            g = ref.Step(l, r, std::max(std::fabs(s.kl[i]), std::fabs(s.kr[i])), k.external);
            reduced += g < 1.0;
            ASSERT_EQ(ol[i], (float)((double)k.outLevel * l)) << "thr " << k.thr << " i " << i;
            ASSERT_EQ(orr[i], (float)((double)k.outLevel * r)) << "thr " << k.thr << " i " << i;
        }
        EXPECT_EQ(c.get_GainReductionLevel(nullptr), (float)g);
        EXPECT_TRUE(k.ratio == 1.0 || reduced > 1000) << "the signal must exercise it";
    }
}

// Keys a hair either side of the threshold, where the loop decides whether it
// needs the log at all.
TEST(Compressor, KeysAroundThresholdMatchReference)
{
    for (double thr : {-30.0, -0.5, -99.9})
    {
        CVRXComp c;
        c.setThresh(thr);
        c.setRatio(3.0);
        c.setRelease(1.0);
        ReferenceComp ref{thr, 3.0, 0.0, Coef(1.0, 44100.0), false};
        for (int j = -400; j <= 400; ++j)
        {
            const double key = dB2lin(thr) * (1.0 + j * 2.5e-6);
            double l = 0.3, r = 0.3, rl = 0.3, rr = 0.3;
            c.process(l, r, key, false);
            ref.Step(rl, rr, key, false);
            ASSERT_EQ(l, rl) << thr << " " << j;
        }
    }
}

TEST(Compressor, GainComputerEdgeCases)
{
    // Ratio 1: gain exactly 1 for any level.
    {
        CVRXComp c;
        c.setThresh(-80.0);
        double l = 0.5, r = -0.25;
        c.process(l, r, 1.0, false);
        EXPECT_EQ(l, 0.5);
        EXPECT_EQ(r, -0.25);
        EXPECT_EQ(c.get_GainReductionLevel(nullptr), 1.f);
    }
    // Attack 0: the envelope reaches a rising target in one sample; a silent
    // key (over = 1e-25) then lets it fall with the release coefficient.
    {
        CompProbe c;
        c.setThresh(-40.0);
        c.setRatio(4.0);
        c.setRelease(20.0);
        double l = 1.0, r = 1.0;
        c.process(l, r, 0.1, false); // -20 dB: 20 dB over
        const double over = std::log(0.1 + 1e-25) * 8.685889638065037 + 40.0 + 1e-25;
        EXPECT_EQ(c.Envelope(), over);
        EXPECT_NEAR(l, dB2lin(-0.75 * 20.0), 1e-12);
        c.process(l, r, 0.0, false);
        EXPECT_EQ(c.Envelope(), 1e-25 + (over - 1e-25) * c.ReleaseCoef());
    }
    // External key more than 4x below the louder audio channel: no reduction;
    // just under 4x, or without the external flag, it reduces.
    for (auto [key, external, reduces] :
         {std::make_tuple(0.8 / 4.1, true, false), std::make_tuple(0.8 / 3.9, true, true),
          std::make_tuple(0.8 / 4.1, false, true)})
    {
        CVRXComp c;
        c.setThresh(-60.0);
        c.setRatio(10.0);
        double l = 0.8, r = -0.1;
        c.process(l, r, key, external);
        EXPECT_EQ(l < 0.5, reduces) << key << " " << external;
        EXPECT_EQ(l == 0.8, !reduces);
    }
    // AutoThreshold (keys 1 dB and 20.5 dB over): while the envelope lies below
    // the level over threshold the target is a fixed 20 dB, so with attack 0 a
    // key 1 dB over reduces as much as one 20 dB over; above it releases again.
    float gains[2];
    const double keys[2] = {dB2lin(-29.0), dB2lin(-9.5)};
    for (int k = 0; k < 2; ++k)
    {
        CompProbe c;
        c.setThresh(-30.0);
        c.setRatio(4.0);
        c.set_AutoThreshold(1.f);
        double l = 0.01, r = 0.01;
        c.process(l, r, keys[k], false);
        c.get_GainReductionLevel(&gains[k]);
        EXPECT_EQ(c.Envelope(), 20.0);
        c.process(l, r, keys[k], false);
        const double over = std::log(keys[0] + 1e-25) * 8.685889638065037 + 30.0;
        EXPECT_NEAR(c.Envelope(), k == 0 ? over + (20.0 - over) * c.ReleaseCoef() : 20.0, 1e-9);
    }
    EXPECT_EQ(gains[0], gains[1]);
    EXPECT_NEAR(gains[0], dB2lin(-15.0), 1e-6);
}

TEST(Compressor, ConstructionInactiveBlockAndNonFiniteEnvelope)
{
    CompProbe c; // attack 0, release 10 ms at 44.1 kHz, silent envelope
    EXPECT_EQ(c.ReleaseCoef(), Coef(10.0, 44100.0));
    EXPECT_EQ(c.Envelope(), 1e-25);
    float g = -1.f;
    EXPECT_EQ(c.get_GainReductionLevel(&g), 0.f);
    EXPECT_EQ(g, 0.f);
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
    std::vector<float> a(32, 0.5f), k(32, 0.5f);
    k[3] = INFINITY;
    float* ain[2] = {a.data(), a.data()};
    float* key[2] = {k.data(), k.data()};
    c.process(ain, out, key, 32, false);
    EXPECT_FALSE(std::isfinite(c.Envelope()));
    c.ResetIfBad();
    EXPECT_EQ(c.Envelope(), 1e-25);
    k[3] = 0.5f;
    c.process(ain, out, key, 32, false);
    EXPECT_TRUE(std::isfinite(ol[31]));
    EXPECT_LT(ol[31], 0.5f);
}

TEST(CompressorRms, WindowAndKeyMatchReference)
{
    RmsProbe c;
    EXPECT_NEAR(c.WindowCoef(), 0.9968555462715044, 1e-16); // 5 ms at 44.1 kHz
    EXPECT_EQ(c.MeanSquare(), 1e-25);
    c.setSampleRate(48000.0);
    EXPECT_EQ(c.WindowCoef(), Coef(5.0, 48000.0));
    c.setThresh(-30.0);
    c.setRatio(4.0);
    c.setAttack(2.0);
    c.setRelease(80.0);

    Signal s(8000);
    s.kr = s.kl; // correlated key: the product is a square
    std::vector<float> ol, orr;
    RunBlocks(c, s, ol, orr, 128, false);

    ReferenceComp ref{-30.0, 4.0, Coef(2.0, 48000.0), Coef(80.0, 48000.0), false};
    const double w = Coef(5.0, 48000.0);
    double ms = 1e-25;
    for (size_t i = 0; i < s.l.size(); ++i)
    {
        double p = (double)(2.f * s.kl[i] * s.kr[i]) + 1e-25, prev = ms;
        ms = (prev - p) * w + p;
        double l = s.l[i], r = s.r[i];
        ref.Step(l, r, prev == 1e-25 ? std::sqrt(p) : std::sqrt(ms), false);
        ASSERT_EQ(ol[i], (float)l) << i;
        ASSERT_EQ(orr[i], (float)r) << i;
    }
    EXPECT_EQ(c.MeanSquare(), ms);

    // After a reset the first sample is keyed by the instantaneous product.
    c.initRuntime();
    EXPECT_EQ(c.MeanSquare(), 1e-25);
    c.setAttack(0.0);
    float a = 0.5f, k = 0.5f, o1, o2;
    float* in[2] = {&a, &a};
    float* out[2] = {&o1, &o2};
    float* key[2] = {&k, &k};
    c.process(in, out, key, 1, false);
    const double over = lin2dB(std::sqrt(0.5 + 1e-25) + 1e-25) + 30.0;
    EXPECT_NEAR(o1, 0.5 * dB2lin(-over * 0.75), 1e-6);
}

TEST(CompressorRms, AntiCorrelatedKeyNeverGivesNaN)
{
    RmsProbe c;
    c.setThresh(-60.0);
    c.setRatio(4.0);
    std::vector<float> l(512, 0.5f), kl(512, 0.5f), kr(512, -0.5f), ol(512), orr(512);
    float* in[2] = {l.data(), l.data()};
    float* out[2] = {ol.data(), orr.data()};
    float* key[2] = {kl.data(), kr.data()};
    c.process(in, out, key, 512, false);
    EXPECT_LT(c.MeanSquare(), 0.0);
    // A negative mean square counts as a silent key: no reduction, no NaN.
    EXPECT_EQ(ol, l);
    EXPECT_EQ(c.get_GainReductionLevel(nullptr), 1.f);
}
