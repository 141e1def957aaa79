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
// (or s^2 / ... for the high-pass), in float with the constants 6.283184 and
// 2.828427. Returns b0 b1 b2 fb1 fb2 with the feedback terms negated.
std::vector<float> Bilinear(float period, float cutoff, bool lowPass)
{
    float w = cutoff * 6.283184f * period;
    float k = 2.828427f * w;
    float w2 = w * w;
    float d = k + 4.f + w2;
    float fb1 = (8.f - 2.f * w2) / d;
    float fb2 = -(4.f - k + w2) / d;
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
                std::vector<float> want = Bilinear(1.f / rate, cutoff, lowPass);
                std::vector<float> got = {f.b0, f.b1, f.b2, f.fb1, f.fb2};
                EXPECT_EQ(got, want) << rate << " " << cutoff << " " << lowPass;
                EXPECT_EQ(f.cutoff, cutoff);
                EXPECT_EQ(f.lowPass, lowPass);
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
    const std::vector<float> in = Noise(2000, 1.f, 99u);
    CIIRFilter proto;
    proto.SetParams(1.f / 48000.f, 5000.f, false);
    // Literal recursion with the first two samples taken from the state.
    std::vector<float> want(in.size());
    {
        float b0 = proto.b0, b1 = proto.b1, b2 = proto.b2, f1 = proto.fb1, f2 = proto.fb2;
        float x1 = 0.f, x2 = 0.f, y1 = 0.f, y2 = 0.f;
        const float* x = in.data();
        float* y = want.data();
        y[0] = b0 * x[0] + b1 * x1 + b2 * x2 + f1 * y1 + f2 * y2;
        y[1] = b0 * x[1] + b1 * x[0] + b2 * x1 + f1 * y[0] + f2 * y1;
        for (size_t i = 2; i < in.size(); ++i)
            y[i] = b0 * x[i] + b1 * x[i - 1] + b2 * x[i - 2] + f1 * y[i - 1] + f2 * y[i - 2];
    }
    for (int chunk : {2000, 1, 2, 31, 255})
    {
        CIIRFilter f;
        f.SetParams(1.f / 48000.f, 5000.f, false);
        std::vector<float> out(in.size());
        for (size_t done = 0; done < in.size(); done += (size_t)chunk)
            f.OperateEqualizer(in.data() + done, out.data() + done,
                               (int)std::min((size_t)chunk, in.size() - done));
        EXPECT_EQ(out, want) << "chunk " << chunk;
        EXPECT_EQ(f.x1, in.back());
        EXPECT_EQ(f.y2, want[want.size() - 2]);
    }
}

TEST(IIRFilter, ButterworthMinus3dBAtWarpedCutoff)
{
    // Without pre-warping the analog -3 dB point wc lands at 2 atan(wc T / 2).
    const double rate = 44100.0;
    for (float cutoff : {1000.f, 6000.f})
    {
        const double warped = rate / kPi * std::atan(kPi * cutoff / rate);
        EXPECT_NEAR(GainDbAt(cutoff, true, warped, rate), -3.0103, 0.05) << cutoff;
        EXPECT_NEAR(GainDbAt(cutoff, false, warped, rate), -3.0103, 0.05) << cutoff;
    }
    CIIRFilter lp, hp;
    lp.SetParams((float)(1.0 / rate), 2000.f, true);
    hp.SetParams((float)(1.0 / rate), 2000.f, false);
    for (double freq : {100.0, 2000.0, 8000.0})
    {
        EXPECT_NEAR(GainDbAt(2000.f, true, freq, rate),
                    BiquadGainDb(lp.b0, lp.b1, lp.b2, -lp.fb1, -lp.fb2, freq, rate), 0.05);
        EXPECT_NEAR(GainDbAt(2000.f, false, freq, rate),
                    BiquadGainDb(hp.b0, hp.b1, hp.b2, -hp.fb1, -hp.fb2, freq, rate), 0.05);
    }
    // Passband flat, stopband 12 dB per octave.
    EXPECT_NEAR(GainDbAt(2000.f, true, 100.0, rate), 0.0, 0.05);
    EXPECT_LT(GainDbAt(2000.f, true, 16000.0, rate), -30.0);
    EXPECT_NEAR(GainDbAt(2000.f, false, 16000.0, rate), 0.0, 0.1);
    EXPECT_LT(GainDbAt(2000.f, false, 200.0, rate), -35.0);
}

TEST(IIRFilter, CountsBelowTwoAndBadState)
{
    CIIRFilter f;
    f.SetParams(1.f / 44100.f, 3000.f, true);
    float in[3] = {0.5f, -0.5f, 0.25f}, out[3] = {9.f, 9.f, 9.f};
    f.OperateEqualizer(in, out, 0);
    EXPECT_EQ(out[0], 9.f);
    f.OperateEqualizer(in, out, 2);
    const float b0 = f.b0, b1 = f.b1, b2 = f.b2, f1 = f.fb1, f2 = f.fb2;
    f.OperateEqualizer(in + 2, out + 2, 1);
    EXPECT_EQ(out[2], b0 * in[2] + b1 * in[1] + b2 * in[0] + f1 * out[1] + f2 * out[0]);
    EXPECT_EQ(f.x1, in[2]);
    EXPECT_EQ(f.x2, in[1]);
    EXPECT_EQ(f.y1, out[2]);
    EXPECT_EQ(f.y2, out[1]);

    float bad[2] = {INFINITY, 0.f};
    f.OperateEqualizer(bad, out, 2);
    EXPECT_TRUE(f.IsStateBad());
    f.Reset();
    EXPECT_FALSE(f.IsStateBad());
    EXPECT_EQ(f.x1, 0.f);
    EXPECT_EQ(f.y2, 0.f);
}
