// Shelving/peaking biquad: coefficients against an independent float routine,
// the direct-form recursion against a literal reference, sine responses
// against the analytic magnitude, and counts below two.
#include "CBiquadFilter.h"
#include "DspTestUtil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace dsptest;

namespace
{
struct Coefs
{
    float a0, a1, a2, b0, b1, b2;
};

// The cookbook shelf/peak in float with pow/sin/cos in double, the slope term
// being sqrt(A / q); a1..b2 normalised by a0, a0 kept raw.
Coefs Reference(float rate, float freq, float gainDb, float q, int type)
{
    float A = (float)pow(10.0, (double)(gainDb / 40.f));
    float limit = rate * 0.5f * 0.95f;
    if (freq > limit)
        freq = limit;
    float w = freq / rate * 6.2831855f;
    float s = (float)sin((double)w), c = (float)cos((double)w);
    float bs = sqrtf(A / q) * s;
    float ap = A + 1.f, am = A - 1.f;
    float r[6]; // b0 b1 b2 a0 a1 a2
    if (type == 0)
    {
        float r0[6] = {A * (ap - am * c + bs), 2.f * A * (am - ap * c), A * (ap - am * c - bs),
                       ap + am * c + bs,       -2.f * (am + ap * c),    ap + am * c - bs};
        std::copy(r0, r0 + 6, r);
    }
    else if (type == 2)
    {
        float r2[6] = {A * (ap + am * c + bs), -2.f * A * (am + ap * c), A * (ap + am * c - bs),
                       ap - am * c + bs,       2.f * (am - ap * c),      ap - am * c - bs};
        std::copy(r2, r2 + 6, r);
    }
    else
    {
        float alpha = s / (2.f * q);
        float r1[6] = {1.f + alpha * A, -2.f * c, 1.f - alpha * A,
                       1.f + alpha / A, -2.f * c, 1.f - alpha / A};
        std::copy(r1, r1 + 6, r);
    }
    return {r[3], r[4] / r[3], r[5] / r[3], r[0] / r[3], r[1] / r[3], r[2] / r[3]};
}

// Direct form I exactly as written: the first two outputs from the state,
// then in[i-1], in[i-2], out[i-1], out[i-2] re-read from the buffers.
void LiteralDF1(CBiquadFilter& f, const float* in, float* out, int n)
{
    out[0] = f.b0 * in[0] + f.b1 * f.x1 + f.b2 * f.x2 - f.a1 * f.y1 - f.a2 * f.y2;
    out[1] = f.b0 * in[1] + f.b1 * in[0] + f.b2 * f.x1 - f.a1 * out[0] - f.a2 * f.y1;
    for (int i = 2; i < n; ++i)
        out[i] = f.b0 * in[i] + f.b1 * in[i - 1] + f.b2 * in[i - 2] - f.a1 * out[i - 1] -
                 f.a2 * out[i - 2];
    f.x1 = in[n - 1];
    f.x2 = in[n - 2];
    f.y1 = out[n - 1];
    f.y2 = out[n - 2];
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
    const float rates[] = {32000.f, 44100.f, 48000.f, 96000.f};
    const float freqs[] = {20.f, 2000.f, 5000.f, 12345.f, 20000.f};
    const float gains[] = {-12.f, -3.5f, 0.f, 6.f};
    for (float rate : rates)
        for (float freq : freqs)
            for (float gain : gains)
                for (int type : {0, 1, 2})
                {
                    CBiquadFilter f;
                    f.CalcCoefficients(rate, freq, gain, 0.7f, type);
                    Coefs r = Reference(rate, freq, gain, 0.7f, type);
                    SCOPED_TRACE(testing::Message()
                                 << rate << " " << freq << " " << gain << " " << type);
                    EXPECT_EQ(f.a0, r.a0);
                    EXPECT_EQ(f.a1, r.a1);
                    EXPECT_EQ(f.a2, r.a2);
                    EXPECT_EQ(f.b0, r.b0);
                    EXPECT_EQ(f.b1, r.b1);
                    EXPECT_EQ(f.b2, r.b2);
                }
}

TEST(BiquadFilter, FrequencyClampedTo0475OfRate)
{
    CBiquadFilter above, at;
    above.CalcCoefficients(32000.f, 20000.f, -12.f, 1.f, 2);
    at.CalcCoefficients(32000.f, 15200.f, -12.f, 1.f, 2);
    EXPECT_EQ(above.b0, at.b0);
    EXPECT_EQ(above.b1, at.b1);
    EXPECT_EQ(above.a1, at.a1);
    EXPECT_EQ(above.a2, at.a2);
}

TEST(BiquadFilter, UnknownTypeDividesStoredCoefficientsByRawA0Again)
{
    CBiquadFilter f;
    f.CalcCoefficients(44100.f, 5000.f, -12.f, 1.f, 0);
    const CBiquadFilter before = f;
    ASSERT_NE(before.a0, 1.f);
    f.CalcCoefficients(44100.f, 5000.f, -12.f, 1.f, 3);
    EXPECT_EQ(f.a0, before.a0);
    EXPECT_EQ(f.b0, before.b0 / before.a0);
    EXPECT_EQ(f.b1, before.b1 / before.a0);
    EXPECT_EQ(f.b2, before.b2 / before.a0);
    EXPECT_EQ(f.a1, before.a1 / before.a0);
    EXPECT_EQ(f.a2, before.a2 / before.a0);
    // The response has changed: the DC gain is no longer that of the shelf.
    EXPECT_GT(std::fabs(GainDbAt(f, 50.0, 44100.0) - GainDbAt(before, 50.0, 44100.0)), 1.0);
}

TEST(BiquadFilter, RecursionMatchesLiteralDirectFormI)
{
    const std::vector<float> in = Noise(1000, 0.8f);
    for (int type : {0, 1, 2})
    {
        CBiquadFilter f, ref;
        f.CalcCoefficients(44100.f, 3000.f, -12.f, 1.f, type);
        ref = f;
        std::vector<float> out(in.size()), want(in.size());
        // Two blocks, so the second starts from a non-zero state.
        f.OperateFilter(in.data(), out.data(), 600);
        f.OperateFilter(in.data() + 600, out.data() + 600, 400);
        LiteralDF1(ref, in.data(), want.data(), 600);
        LiteralDF1(ref, in.data() + 600, want.data() + 600, 400);
        for (size_t i = 0; i < in.size(); ++i)
            ASSERT_EQ(out[i], want[i]) << "type " << type << " sample " << i;
        EXPECT_EQ(f.x1, ref.x1);
        EXPECT_EQ(f.x2, ref.x2);
        EXPECT_EQ(f.y1, ref.y1);
        EXPECT_EQ(f.y2, ref.y2);
    }
}

TEST(BiquadFilter, CountTwoUsesFirstStepsAndCountsBelowTwoAreSafe)
{
    CBiquadFilter f;
    f.CalcCoefficients(44100.f, 3000.f, -12.f, 1.f, 0);
    float in[2] = {0.5f, -0.25f}, out[2];
    f.OperateFilter(in, out, 2);
    EXPECT_EQ(f.x1, in[1]);
    EXPECT_EQ(f.x2, in[0]);
    EXPECT_EQ(f.y1, out[1]);
    EXPECT_EQ(f.y2, out[0]);

    // Count 0: nothing read, nothing written, state kept.
    const CBiquadFilter before = f;
    float guard[2] = {7.f, 7.f};
    f.OperateFilter(nullptr, guard, 0);
    EXPECT_EQ(guard[0], 7.f);
    EXPECT_EQ(f.y1, before.y1);
    EXPECT_EQ(f.x2, before.x2);

    // Count 1 continues the recursion from the state and writes one sample.
    float one = 0.125f;
    float y[2] = {0.f, 99.f};
    f.OperateFilter(&one, y, 1);
    const float want = before.b0 * one + before.b1 * before.x1 + before.b2 * before.x2 -
                       before.a1 * before.y1 - before.a2 * before.y2;
    EXPECT_EQ(y[0], want);
    EXPECT_EQ(y[1], 99.f);
    EXPECT_EQ(f.x1, one);
    EXPECT_EQ(f.x2, before.x1);
    EXPECT_EQ(f.y1, want);
    EXPECT_EQ(f.y2, before.y1);
}

TEST(BiquadFilter, BlockSizeIndependent)
{
    const std::vector<float> in = Noise(3000, 1.f, 777u);
    CBiquadFilter whole;
    whole.CalcCoefficients(44100.f, 7000.f, -12.f, 1.f, 2);
    std::vector<float> want(in.size());
    CBiquadFilter proto = whole;
    whole.OperateFilter(in.data(), want.data(), (int)in.size());
    for (int chunk : {1, 2, 31, 255})
    {
        CBiquadFilter f = proto;
        std::vector<float> out(in.size());
        for (size_t done = 0; done < in.size(); done += (size_t)chunk)
        {
            int n = (int)std::min((size_t)chunk, in.size() - done);
            f.OperateFilter(in.data() + done, out.data() + done, n);
        }
        EXPECT_EQ(out, want) << "chunk " << chunk;
    }
}

TEST(BiquadFilter, SineResponseMatchesAnalyticMagnitude)
{
    const double rate = 44100.0;
    // 0 dB: A = 1, numerator equals denominator, the filter passes the signal.
    for (int type : {0, 1, 2})
    {
        CBiquadFilter f;
        f.CalcCoefficients((float)rate, 4000.f, 0.f, 1.f, type);
        EXPECT_EQ(f.b0, 1.f);
        EXPECT_EQ(f.b1, f.a1);
        EXPECT_EQ(f.b2, f.a2);
        std::vector<float> in = Noise(512, 1.f), out(512);
        f.OperateFilter(in.data(), out.data(), 512);
        for (size_t i = 0; i < in.size(); ++i)
            ASSERT_NEAR(out[i], in[i], 1e-5f);
    }
    // -12 dB shelves at 5 kHz: the shelved side sits at -12 dB, the other at 0.
    CBiquadFilter low, high;
    low.CalcCoefficients((float)rate, 5000.f, -12.f, 1.f, CBiquadFilter::kLowShelf);
    high.CalcCoefficients((float)rate, 5000.f, -12.f, 1.f, CBiquadFilter::kHighShelf);
    for (double freq : {50.0, 1000.0, 5000.0, 10000.0, 20000.0})
    {
        for (const CBiquadFilter* f : {&low, &high})
        {
            const double want = BiquadGainDb(f->b0, f->b1, f->b2, f->a1, f->a2, freq, rate);
            EXPECT_NEAR(GainDbAt(*f, freq, rate), want, 0.05) << freq;
        }
    }
    EXPECT_NEAR(GainDbAt(low, 50.0, rate), -12.0, 0.1);
    EXPECT_NEAR(GainDbAt(low, 20000.0, rate), 0.0, 0.5);
    EXPECT_NEAR(GainDbAt(high, 50.0, rate), 0.0, 0.1);
    EXPECT_NEAR(GainDbAt(high, 20000.0, rate), -12.0, 0.5);
}

TEST(BiquadFilter, NonFiniteStateIsDetectedAndReset)
{
    CBiquadFilter f;
    f.CalcCoefficients(44100.f, 5000.f, -12.f, 1.f, 0);
    std::vector<float> in = Noise(64, 1.f), out(64);
    EXPECT_FALSE(f.IsStateBad());
    in[10] = NAN;
    f.OperateFilter(in.data(), out.data(), 64);
    EXPECT_TRUE(f.IsStateBad());
    f.Reset();
    EXPECT_FALSE(f.IsStateBad());
    in[10] = 0.f;
    f.OperateFilter(in.data(), out.data(), 64);
    for (float y : out)
        EXPECT_TRUE(std::isfinite(y));
}

TEST(BiquadFilter, SideBySideEqualsSeparateCalls)
{
    const std::vector<float> a = Noise(700, 1.f, 11u), b = Noise(700, 0.5f, 12u);
    const float freqs[5] = {3000.f, 9000.f, 500.f, 15000.f, 7000.f};
    for (int n = 1; n <= 5; ++n)
    {
        CBiquadFilter together[5], apart[5];
        const float* in[5];
        float* out[5];
        std::vector<std::vector<float>> got(5, std::vector<float>(700)), want = got;
        CBiquadFilter* ptrs[5];
        for (int k = 0; k < n; ++k)
        {
            together[k].CalcCoefficients(48000.f, freqs[k], -12.f, 1.f, k % 3);
            apart[k] = together[k];
            in[k] = k % 2 ? b.data() : a.data(); // inputs may be shared
            out[k] = got[(size_t)k].data();
            ptrs[k] = &together[k];
        }
        for (int chunk : {1, 2, 31, 255})
        {
            for (int k = 0; k < n; ++k)
            {
                together[k].Reset();
                apart[k].Reset();
            }
            for (int done = 0; done < 700; done += chunk)
            {
                const int c = std::min(chunk, 700 - done);
                const float* ins[5];
                float* outs[5];
                for (int k = 0; k < n; ++k)
                {
                    ins[k] = in[k] + done;
                    outs[k] = out[k] + done;
                    apart[k].OperateFilter(in[k] + done, want[(size_t)k].data() + done, c);
                }
                CBiquadFilter::OperateFilters(ptrs, ins, outs, n, c);
            }
            for (int k = 0; k < n; ++k)
            {
                EXPECT_EQ(got[(size_t)k], want[(size_t)k]) << n << " " << k << " " << chunk;
                EXPECT_EQ(together[k].y1, apart[k].y1);
                EXPECT_EQ(together[k].x2, apart[k].x2);
            }
        }
    }
}
