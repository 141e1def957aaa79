// Shelving/peaking biquad: coefficients against an independent float routine
// and the analytic shelf levels, the recursion against the direct form I
// written out, and side-by-side filters against separate calls.
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
// sqrt(A / q); returns a0 raw and a1 a2 b0 b1 b2 divided by it.
std::vector<float> Reference(float rate, float freq, float gainDb, float q, int type)
{
    float A = (float)pow(10.0, (double)(gainDb / 40.f));
    float w = std::min(freq, rate * 0.5f * 0.95f) / rate * 6.2831855f;
    float s = (float)sin((double)w), c = (float)cos((double)w);
    float bs = sqrtf(A / q) * s, ap = A + 1.f, am = A - 1.f, alpha = s / (2.f * q);
    float b0, b1, b2, a0, a1, a2;
    if (type == 0)
    {
        b0 = A * (ap - am * c + bs), b1 = 2.f * A * (am - ap * c), b2 = A * (ap - am * c - bs);
        a0 = ap + am * c + bs, a1 = -2.f * (am + ap * c), a2 = ap + am * c - bs;
    }
    else if (type == 2)
    {
        b0 = A * (ap + am * c + bs), b1 = -2.f * A * (am + ap * c), b2 = A * (ap + am * c - bs);
        a0 = ap - am * c + bs, a1 = 2.f * (am - ap * c), a2 = ap - am * c - bs;
    }
    else
    {
        b0 = 1.f + alpha * A, b1 = -2.f * c, b2 = 1.f - alpha * A;
        a0 = 1.f + alpha / A, a1 = -2.f * c, a2 = 1.f - alpha / A;
    }
    return {a0, a1 / a0, a2 / a0, b0 / a0, b1 / a0, b2 / a0};
}

std::vector<float> Coefs(const CBiquadFilter& f)
{
    return {f.a0, f.a1, f.a2, f.b0, f.b1, f.b2};
}
} // namespace

TEST(BiquadFilter, CoefficientsMatchIndependentRoutineAndShelfLevels)
{
    // 20000 Hz lies above 0.475 x 32000 and is clamped to 15200 Hz.
    for (float rate : {32000.f, 96000.f})
        for (float freq : {2000.f, 20000.f})
            for (float gain : {-3.5f, 0.f})
                for (int type : {0, 1, 2})
                {
                    CBiquadFilter f;
                    f.CalcCoefficients(rate, freq, gain, 0.7f, type);
                    EXPECT_EQ(Coefs(f), Reference(rate, freq, gain, 0.7f, type))
                        << rate << " " << freq << " " << gain << " " << type;
                    if (gain == 0.f) // A = 1: numerator equals denominator
                    {
                        EXPECT_EQ(std::vector<float>({f.b0, f.b1, f.b2}),
                                  std::vector<float>({1.f, f.a1, f.a2}));
                    }
                }
    // The shelved side sits at -12 dB, the other at 0.
    const double rate = 44100.0;
    for (int type : {CBiquadFilter::kLowShelf, CBiquadFilter::kHighShelf})
    {
        CBiquadFilter f;
        f.CalcCoefficients((float)rate, 5000.f, -12.f, 1.f, type);
        for (double freq : {0.0, rate / 2})
            EXPECT_NEAR(BiquadGainDb(f.b0, f.b1, f.b2, f.a1, f.a2, freq, rate),
                        (freq == 0.0) == (type == CBiquadFilter::kLowShelf) ? -12.0 : 0.0, 0.01)
                << type << " " << freq;
    }
}

TEST(BiquadFilter, UnknownTypeDividesStoredCoefficientsByRawA0Again)
{
    CBiquadFilter f;
    f.CalcCoefficients(44100.f, 5000.f, -12.f, 1.f, 0);
    const std::vector<float> c = Coefs(f);
    f.CalcCoefficients(44100.f, 5000.f, -12.f, 1.f, 3);
    EXPECT_EQ(Coefs(f), std::vector<float>({c[0], c[1] / c[0], c[2] / c[0], c[3] / c[0],
                                            c[4] / c[0], c[5] / c[0]}));
}

TEST(BiquadFilter, RecursionIsDirectFormIInAnyChunks)
{
    const std::vector<float> in = Noise(1000, 0.8f);
    for (int type : {0, 1, 2})
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
                together[k].CalcCoefficients(48000.f, freqs[k], -12.f, 1.f, k % 3);
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
