// Shelving/peaking biquad: coefficients against an independent float routine,
// the direct-form recursion against a literal reference, sine responses
// against the analytic magnitude, and an empty call.
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
    freq = std::min(freq, rate * 0.5f * 0.95f);
    float w = freq / rate * 6.2831855f;
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

double GainDbAt(const CBiquadFilter& proto, double freq, double rate)
{
    CBiquadFilter f = proto;
    f.Reset();
    return MeasureGainDb([&](const float* in, float* out, int n) { f.OperateFilter(in, out, n); },
                         freq, rate);
}
} // namespace

TEST(BiquadFilter, CoefficientsMatchIndependentRoutine)
{
    for (float rate : {32000.f, 44100.f, 48000.f, 96000.f})
        for (float freq : {20.f, 2000.f, 5000.f, 12345.f, 20000.f})
            for (float gain : {-12.f, -3.5f, 0.f, 6.f})
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
    // Above 0.475 x rate the frequency is clamped: 20000 Hz at 32 kHz is 15200 Hz.
    CBiquadFilter above, at;
    above.CalcCoefficients(32000.f, 20000.f, -12.f, 1.f, 2);
    at.CalcCoefficients(32000.f, 15200.f, -12.f, 1.f, 2);
    EXPECT_EQ(Coefs(above), Coefs(at));
}

TEST(BiquadFilter, UnknownTypeDividesStoredCoefficientsByRawA0Again)
{
    CBiquadFilter f;
    f.CalcCoefficients(44100.f, 5000.f, -12.f, 1.f, 0);
    const CBiquadFilter before = f;
    ASSERT_NE(before.a0, 1.f);
    f.CalcCoefficients(44100.f, 5000.f, -12.f, 1.f, 3);
    const float a0 = before.a0;
    EXPECT_EQ(Coefs(f), std::vector<float>({a0, before.a1 / a0, before.a2 / a0, before.b0 / a0,
                                            before.b1 / a0, before.b2 / a0}));
    EXPECT_GT(std::fabs(GainDbAt(f, 50.0, 44100.0) - GainDbAt(before, 50.0, 44100.0)), 1.0);
}

TEST(BiquadFilter, RecursionMatchesLiteralDirectFormIInAnyChunks)
{
    const std::vector<float> in = Noise(1000, 0.8f);
    for (int type : {0, 1, 2})
    {
        CBiquadFilter proto;
        proto.CalcCoefficients(44100.f, 3000.f, -12.f, 1.f, type);
        const std::vector<float> want =
            LiteralDF1(proto.b0, proto.b1, proto.b2, proto.a1, proto.a2, in);
        for (int chunk : {1000, 1, 2, 31, 255})
        {
            CBiquadFilter f = proto;
            std::vector<float> out(in.size());
            ForChunks(in.size(), chunk,
                      [&](size_t done, int count)
                      { f.OperateFilter(in.data() + done, out.data() + done, count); });
            EXPECT_EQ(out, want) << "type " << type << " chunk " << chunk;
            EXPECT_EQ(State(f), std::vector<float>({in[999], in[998], want[999], want[998]}));
        }
    }
}

TEST(BiquadFilter, CountZeroAndNonFiniteState)
{
    CBiquadFilter f;
    f.CalcCoefficients(44100.f, 3000.f, -12.f, 1.f, 0);
    float in[2] = {0.5f, -0.25f}, out[2];
    f.OperateFilter(in, out, 2);
    ExpectEmptyCallAndBadStateReset(
        f, NAN, [&](const float* x, float* y, int n) { f.OperateFilter(x, y, n); });
}

TEST(BiquadFilter, ShelfResponseMatchesAnalyticMagnitude)
{
    const double rate = 44100.0;
    CBiquadFilter low, high;
    low.CalcCoefficients((float)rate, 5000.f, -12.f, 1.f, CBiquadFilter::kLowShelf);
    high.CalcCoefficients((float)rate, 5000.f, -12.f, 1.f, CBiquadFilter::kHighShelf);
    for (double freq : {50.0, 1000.0, 5000.0, 10000.0, 20000.0})
        for (const CBiquadFilter* f : {&low, &high})
            EXPECT_NEAR(GainDbAt(*f, freq, rate),
                        BiquadGainDb(f->b0, f->b1, f->b2, f->a1, f->a2, freq, rate), 0.05)
                << freq;
    // The shelved side sits at -12 dB, the other at 0.
    EXPECT_NEAR(GainDbAt(low, 50.0, rate), -12.0, 0.1);
    EXPECT_NEAR(GainDbAt(low, 20000.0, rate), 0.0, 0.5);
    EXPECT_NEAR(GainDbAt(high, 50.0, rate), 0.0, 0.1);
    EXPECT_NEAR(GainDbAt(high, 20000.0, rate), -12.0, 0.5);
}

TEST(BiquadFilter, SideBySideEqualsSeparateCalls)
{
    const std::vector<float> a = Noise(700, 1.f, 11u), b = Noise(700, 0.5f, 12u);
    const float freqs[5] = {3000.f, 9000.f, 500.f, 15000.f, 7000.f};
    for (int n = 1; n <= 5; ++n)
        for (int chunk : {1, 2, 31, 255})
        {
            CBiquadFilter together[5], apart[5], *ptrs[5];
            std::vector<std::vector<float>> got(5, std::vector<float>(700)), want = got;
            for (int k = 0; k < n; ++k)
            {
                together[k].CalcCoefficients(48000.f, freqs[k], -12.f, 1.f, k % 3);
                apart[k] = together[k];
                ptrs[k] = &together[k];
            }
            ForChunks(700, chunk,
                      [&](size_t done, int c)
                      {
                          const float* ins[5];
                          float* outs[5];
                          for (int k = 0; k < n; ++k)
                          {
                              ins[k] = (k % 2 ? b.data() : a.data()) + done; // may be shared
                              outs[k] = got[(size_t)k].data() + done;
                              apart[k].OperateFilter(ins[k], want[(size_t)k].data() + done, c);
                          }
                          CBiquadFilter::OperateFilters(ptrs, ins, outs, n, c);
                      });
            for (int k = 0; k < n; ++k)
            {
                EXPECT_EQ(got[(size_t)k], want[(size_t)k]) << n << " " << k << " " << chunk;
                EXPECT_EQ(together[k].y1, apart[k].y1);
            }
        }
}
