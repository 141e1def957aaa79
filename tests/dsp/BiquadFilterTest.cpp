// Shelving biquad (the types the effect uses): coefficients against an
// independent float routine and the analytic shelf levels, the recursion
// against the direct form I written out, side-by-side filters against
// separate calls.
#include "CBiquadFilter.h"
#include "DspTestUtil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace dsptest;

namespace
{
// The cookbook shelves in float with pow/sin/cos in double, slope term
// sqrt(A / q), sign +1 for the low shelf and -1 for the high one; returns a0
// raw and a1 a2 b0 b1 b2 divided by it.
std::vector<float> Shelf(float rate, float freq, float gainDb, float q, float sign)
{
    float A = (float)pow(10.0, (double)(gainDb / 40.f));
    float w = std::min(freq, rate * 0.5f * 0.95f) / rate * 6.2831855f;
    float c = (float)cos((double)w), bs = sqrtf(A / q) * (float)sin((double)w);
    float am = A - 1.f, ap = A + 1.f, amc = sign * am * c, apc = sign * ap * c;
    float a0 = ap + amc + bs, a1 = -sign * 2.f * (am + apc), a2 = ap + amc - bs;
    float b0 = A * (ap - amc + bs), b1 = sign * 2.f * A * (am - apc), b2 = A * (ap - amc - bs);
    return {a0, a1 / a0, a2 / a0, b0 / a0, b1 / a0, b2 / a0};
}
} // namespace

// The shelved side sits at the gain, the other side at 0 dB. 20000 Hz lies
// above 0.475 x 32000 and is clamped to 15200 Hz.
TEST(BiquadFilter, ShelfCoefficientsMatchIndependentRoutineAndLevels)
{
    for (float rate : {32000.f, 96000.f})
        for (float freq : {2000.f, 20000.f})
            for (float gain : {-12.f, 0.f})
                for (int type : {CBiquadFilter::kLowShelf, CBiquadFilter::kHighShelf})
                {
                    CBiquadFilter f;
                    f.CalcCoefficients(rate, freq, gain, 0.7f, type);
                    EXPECT_EQ(std::vector<float>({f.a0, f.a1, f.a2, f.b0, f.b1, f.b2}),
                              Shelf(rate, freq, gain, 0.7f, type == 0 ? 1.f : -1.f))
                        << rate << " " << freq << " " << gain << " " << type;
                    for (double at : {0.0, rate / 2.0})
                        EXPECT_NEAR(BiquadGainDb(f.b0, f.b1, f.b2, f.a1, f.a2, at, rate),
                                    (at == 0.0) == (type == 0) ? gain : 0.f, 0.01)
                            << rate << " " << freq << " " << gain << " " << type << " " << at;
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
