// Shelving/peaking biquad: coefficients against an independent float routine
// and the analytic shelf levels, the recursion against the direct form I
// written out, side-by-side filters against separate calls.
#include "CBiquadFilter.h"
#include "DspTestUtil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace dsptest;

namespace
{
// The cookbook shelf/peak in float with pow/sin/cos in double, slope term
// sqrt(A / q), alpha sin / 2q; returns a0 raw and a1 a2 b0 b1 b2 divided by it.
std::vector<float> Reference(float rate, float freq, float gainDb, float q, int type)
{
    float A = (float)pow(10.0, (double)(gainDb / 40.f)), sign = 1.f - (float)type; // 1, 0, -1
    float w = std::min(freq, rate * 0.5f * 0.95f) / rate * 6.2831855f;
    float c = (float)cos((double)w), s = (float)sin((double)w), bs = sqrtf(A / q) * s;
    float am = A - 1.f, ap = A + 1.f, amc = sign * am * c, apc = sign * ap * c, al = s / (2.f * q);
    float a0 = ap + amc + bs, a1 = -sign * 2.f * (am + apc), a2 = ap + amc - bs;
    float b0 = A * (ap - amc + bs), b1 = sign * 2.f * A * (am - apc), b2 = A * (ap - amc - bs);
    if (type == CBiquadFilter::kPeaking)
    {
        a0 = 1.f + al / A, a2 = 1.f - al / A, b0 = 1.f + al * A, b2 = 1.f - al * A;
        a1 = b1 = -2.f * c;
    }
    return {a0, a1 / a0, a2 / a0, b0 / a0, b1 / a0, b2 / a0};
}
} // namespace

// The shelved side sits at the gain, the other side at 0 dB; the peak is 0 dB
// at both ends. 20000 Hz lies above 0.475 x 32000 and is clamped to 15200 Hz.
// An unknown type divides the stored coefficients by the raw a0 once more.
TEST(BiquadFilter, CoefficientsMatchIndependentRoutineAndLevels)
{
    for (float rate : {32000.f, 96000.f})
        for (float freq : {2000.f, 20000.f})
            for (float gain : {-12.f, 0.f})
                for (int type : {0, 1, 2})
                {
                    CBiquadFilter f;
                    f.CalcCoefficients(rate, freq, gain, 0.7f, type);
                    for (double at : {0.0, rate / 2.0})
                        EXPECT_NEAR(BiquadGainDb(f.b0, f.b1, f.b2, f.a1, f.a2, at, rate),
                                    type != 1 && (at == 0.0) == (type == 0) ? gain : 0.f, 0.01)
                            << rate << " " << freq << " " << gain << " " << type << " " << at;
                    const std::vector<float> want = Reference(rate, freq, gain, 0.7f, type);
                    EXPECT_EQ(std::vector<float>({f.a0, f.a1, f.a2, f.b0, f.b1, f.b2}), want)
                        << rate << " " << freq << " " << gain << " " << type;
                    f.CalcCoefficients(rate, freq, gain, 0.7f, 3);
                    EXPECT_EQ(f.b0, want[3] / want[0]);
                }
}

TEST(BiquadFilter, RecursionIsDirectFormIInAnyChunks)
{
    const std::vector<float> in = Noise(1000, 0.8f);
    for (int type : {CBiquadFilter::kLowShelf, CBiquadFilter::kHighShelf})
    {
        auto setup = [&](CBiquadFilter& f)
        { f.CalcCoefficients(44100.f, 3000.f, -12.f, 1.f, type); };
        CBiquadFilter p;
        setup(p);
        ExpectRecursionAndSafety<CBiquadFilter>(
            setup, in, LiteralDF1(p.b0, p.b1, p.b2, p.a1, p.a2, in),
            [](CBiquadFilter& f, const float* x, float* y, int n) { f.OperateFilter(x, y, n); });
    }
}

TEST(BiquadFilter, SideBySideEqualsSeparateCalls)
{
    const std::vector<float> a = Noise(700, 1.f, 11u), b = Noise(700, 0.5f, 12u);
    const float freqs[4] = {3000.f, 9000.f, 500.f, 15000.f};
    for (int n = 1; n <= 4; ++n)
        for (int chunk : {1, 31})
        {
            CBiquadFilter together[4], apart[4], *ptrs[4];
            std::vector<std::vector<float>> got(4, std::vector<float>(700)), want = got;
            for (int k = 0; k < n; ++k)
            {
                together[k].CalcCoefficients(48000.f, freqs[k], -12.f, 1.f, k % 2 * 2);
                apart[k] = together[k];
                ptrs[k] = &together[k];
                apart[k].OperateFilter(k % 2 ? b.data() : a.data(), want[(size_t)k].data(), 700);
            }
            ForChunks(700, chunk,
                      [&](size_t done, int c)
                      {
                          const float* ins[4];
                          float* outs[4];
                          for (int k = 0; k < n; ++k)
                          {
                              ins[k] = (k % 2 ? b.data() : a.data()) + done; // may be shared
                              outs[k] = got[(size_t)k].data() + done;
                          }
                          CBiquadFilter::OperateFilters(ptrs, ins, outs, n, c);
                      });
            EXPECT_EQ(got, want) << n << " " << chunk;
        }
}
