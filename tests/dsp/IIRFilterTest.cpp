// Butterworth section: coefficients against the bilinear transform written out
// independently, -3 dB at the warped cut-off, the direct form I recursion.
#include "CIIRFilter.h"
#include "DspTestUtil.h"

#include <gtest/gtest.h>

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
} // namespace

TEST(IIRFilter, CoefficientsMatchBilinearTransformAndMinus3dBAtWarpedCutoff)
{
    for (float rate : {32000.f, 96000.f})
        for (float cutoff : {20.f, 9000.f})
            for (bool lowPass : {true, false})
            {
                CIIRFilter f;
                f.SetParams(1.f / rate, cutoff, lowPass);
                EXPECT_EQ(std::vector<float>({f.b0, f.b1, f.b2, f.fb1, f.fb2}),
                          Bilinear(1.f / rate, cutoff, lowPass))
                    << rate << " " << cutoff << " " << lowPass;
                // Without pre-warping the analog -3 dB point lands at 2 atan(wc T / 2);
                // 0 dB in the passband (DC or Nyquist).
                auto gainDb = [&](double freq)
                { return BiquadGainDb(f.b0, f.b1, f.b2, -f.fb1, -f.fb2, freq, rate); };
                EXPECT_NEAR(gainDb(rate / kPi * std::atan(kPi * cutoff / rate)), -3.0103, 0.01);
                EXPECT_NEAR(gainDb(lowPass ? 0.0 : rate / 2), 0.0, 0.1); // float coefficients
            }
}

TEST(IIRFilter, RecursionIsDirectFormIInAnyChunks)
{
    const std::vector<float> x = Noise(2000, 1.f, 99u);
    auto setup = [](CIIRFilter& f) { f.SetParams(1.f / 48000.f, 5000.f, false); };
    CIIRFilter p;
    setup(p);
    // The feedback terms are stored negated.
    ExpectRecursionAndSafety<CIIRFilter>(setup, x, LiteralDF1(p.b0, p.b1, p.b2, -p.fb1, -p.fb2, x),
                                         [](CIIRFilter& f, const float* in, float* out, int n)
                                         { f.OperateEqualizer(in, out, n); });
}
