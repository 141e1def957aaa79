// Butterworth section: coefficients against the bilinear transform written out
// independently, the recursion against a literal reference, -3 dB points.
#include "CIIRFilter.h"
#include "DspTestUtil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace dsptest;

namespace
{
// s = 2/T (1 - z^-1)/(1 + z^-1) applied to wc^2 / (s^2 + sqrt2 wc s + wc^2)
// (s^2 / ... for the high-pass), in float with the constants 6.283184 and
// 2.828427. Returns b0 b1 b2 fb1 fb2 with the feedback terms negated.
std::vector<float> Bilinear(float period, float cutoff, bool lowPass)
{
    float w = cutoff * 6.283184f * period, k = 2.828427f * w, w2 = w * w;
    float d = k + 4.f + w2, fb1 = (8.f - 2.f * w2) / d, fb2 = -(4.f - k + w2) / d;
    if (lowPass)
        return {w2 / d, 2.f * w2 / d, w2 / d, fb1, fb2};
    return {4.f / d, -2.f * (4.f / d), 4.f / d, fb1, fb2};
}

double GainDbAt(float cutoff, bool lowPass, double freq, double rate)
{
    CIIRFilter f;
    f.SetParams((float)(1.0 / rate), cutoff, lowPass);
    return MeasureGainDb(
        [&](const float* in, float* out, int n) { f.OperateEqualizer(in, out, n); }, freq, rate);
}
} // namespace

TEST(IIRFilter, CoefficientsMatchBilinearTransform)
{
    for (float rate : {32000.f, 44100.f, 96000.f})
        for (float cutoff : {20.f, 2000.f, 9000.f, 20000.f})
            for (bool lowPass : {true, false})
            {
                CIIRFilter f;
                f.SetParams(1.f / rate, cutoff, lowPass);
                EXPECT_EQ(std::vector<float>({f.b0, f.b1, f.b2, f.fb1, f.fb2}),
                          Bilinear(1.f / rate, cutoff, lowPass))
                    << rate << " " << cutoff << " " << lowPass;
            }
    // The unlocked forms compute from the stored values, whatever lowPass says.
    CIIRFilter f;
    f.SetParams(1.f / 44100.f, 3000.f, true);
    f.CalcHPFCoefficients();
    EXPECT_EQ(f.b0, Bilinear(1.f / 44100.f, 3000.f, false)[0]);
    EXPECT_TRUE(f.lowPass);
    f.CalcLPFCoefficients();
    EXPECT_EQ(f.b1, Bilinear(1.f / 44100.f, 3000.f, true)[1]);
}

TEST(IIRFilter, RecursionMatchesLiteralReferenceInAnyChunks)
{
    const std::vector<float> x = Noise(2000, 1.f, 99u);
    CIIRFilter p;
    p.SetParams(1.f / 48000.f, 5000.f, false);
    // The feedback terms are stored negated.
    const std::vector<float> want = LiteralDF1(p.b0, p.b1, p.b2, -p.fb1, -p.fb2, x);
    for (int chunk : {2000, 1, 2, 31, 255})
    {
        CIIRFilter f;
        f.SetParams(1.f / 48000.f, 5000.f, false);
        std::vector<float> out(x.size());
        ForChunks(x.size(), chunk,
                  [&](size_t done, int count)
                  { f.OperateEqualizer(x.data() + done, out.data() + done, count); });
        EXPECT_EQ(out, want) << "chunk " << chunk;
        EXPECT_EQ(State(f), std::vector<float>({x[1999], x[1998], want[1999], want[1998]}));
    }
    ExpectEmptyCallAndBadStateReset(
        p, INFINITY, [&](const float* in, float* out, int n) { p.OperateEqualizer(in, out, n); });
}

TEST(IIRFilter, ButterworthMinus3dBAtWarpedCutoff)
{
    // Without pre-warping the analog -3 dB point wc lands at 2 atan(wc T / 2).
    const double rate = 44100.0;
    for (float cutoff : {1000.f, 6000.f})
        for (bool lowPass : {true, false})
        {
            const double warped = rate / kPi * std::atan(kPi * cutoff / rate);
            EXPECT_NEAR(GainDbAt(cutoff, lowPass, warped, rate), -3.0103, 0.05) << cutoff;
        }
    // Passband flat, stopband 12 dB per octave.
    EXPECT_NEAR(GainDbAt(2000.f, true, 100.0, rate), 0.0, 0.05);
    EXPECT_LT(GainDbAt(2000.f, true, 16000.0, rate), -30.0);
    EXPECT_NEAR(GainDbAt(2000.f, false, 16000.0, rate), 0.0, 0.1);
    EXPECT_LT(GainDbAt(2000.f, false, 200.0, rate), -35.0);
}
