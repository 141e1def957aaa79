// Filter processor: fixed-point interface, the block path against a literal
// reference (gains, filter, output gain twice), metering, the over-level flag,
// and processing without allocation whatever the block length.
#include "AllocationCounter.h"
#include "CVRXLPF.h"
#include "DspTestUtil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace dsptest;

namespace
{
// A processor set up for stereo at 44.1 kHz.
struct Lpf : CVRXLPF
{
    explicit Lpf(bool lowPass, int cutoffHz = 0) : CVRXLPF(lowPass)
    {
        WAVEFORMATEX f = FloatFormat(44100);
        SetMediaType(&f);
        if (cutoffHz)
            set_CutOff(cutoffHz * 65536);
    }
};

struct Stereo
{
    std::vector<float> l, r;
    explicit Stereo(int n, uint32_t seed = 1u)
        : l(Noise(n, 0.9f, seed)), r(Noise(n, 0.7f, seed + 1))
    {
    }
};

// in * inputGain -> Butterworth recursion -> * outputGain (over-level test)
// -> * outputGain, one channel, written from the definitions.
std::vector<float> Reference(const std::vector<float>& in, float rate, float cutoff, bool lowPass,
                             float inDb, float outDb)
{
    float ig = (float)std::pow(10.0, (double)inDb / 20.0);
    float og = (float)std::pow(10.0, (double)outDb / 20.0);
    CIIRFilter f;
    f.SetParams(1.f / rate, cutoff, lowPass);
    std::vector<float> work(in.size()), y(in.size());
    for (size_t i = 0; i < in.size(); ++i)
        work[i] = in[i] * ig;
    f.OperateEqualizer(work.data(), y.data(), (int)in.size());
    for (float& v : y)
        v = (og * v) * og;
    return y;
}

void RunLPF(CVRXLPF& p, Stereo& s, std::vector<float>& ol, std::vector<float>& orr, int chunk)
{
    RunStereo(s.l, s.r, ol, orr, chunk,
              [&](float** in, float** out, size_t, int count)
              {
                  int outCount = -1;
                  ASSERT_TRUE(p.Transform(in, count, out, &outCount));
                  ASSERT_EQ(outCount, count);
              });
}
} // namespace

TEST(LPF, DefaultsAndFixedPointInterface)
{
    CVRXLPF hp(false), lp(true);
    int v = 0;
    hp.get_CutOff(&v);
    EXPECT_EQ(v, 0x140000); // 20 Hz
    lp.get_CutOff(&v);
    EXPECT_EQ(v, 0x4E200000); // 20000 Hz
    // The default over-level threshold, 2^31, does not fit an int: saturated.
    lp.get_OverLevelThreshold(&v);
    EXPECT_EQ(v, 2147483647);
    // 16.16 round trips: x 2^-16 in, x 65536 truncated out.
    for (int level : {-393216, 65536 * 3 + 32768, -1, 1, 0x7FFF0000})
    {
        lp.set_InputLevel(level);
        lp.get_InputLevel(&v);
        EXPECT_EQ(v, level);
        lp.set_OutputLevel(level);
        lp.get_OutputLevel(&v);
        EXPECT_EQ(v, level);
    }
    EXPECT_FALSE(lp.get_CutOff(nullptr));
}

TEST(LPF, TransformMatchesReferenceInAnyChunksWithoutAllocating)
{
    Stereo s(3000);
    const std::vector<float> wantL = Reference(s.l, 44100.f, 3000.f, false, 3.f, -6.f);
    const std::vector<float> wantR = Reference(s.r, 44100.f, 3000.f, false, 3.f, -6.f);
    std::vector<float> ol(3000), orr(3000);
    for (int chunk : {3000, 1, 2, 31, 255})
    {
        Lpf p(false, 3000);
        if (chunk != 3000)
            p.SetSampleSize(64); // smaller than some chunks; the first run has none
        p.set_InputLevel(3 * 65536);
        p.set_OutputLevel(-6 * 65536);
        const long before = AllocationCount(); // -1 under sanitizers: not counted
        RunLPF(p, s, ol, orr, chunk);
        EXPECT_EQ(AllocationCount(), before) << chunk;
        EXPECT_EQ(ol, wantL) << chunk;
        EXPECT_EQ(orr, wantR) << chunk;
    }
}

TEST(LPF, MeteringInactiveAndOverLevel)
{
    Lpf p(true);
    std::vector<float> l = {0.1f, -0.6f, 0.2f, 0.f}, r = {0.3f, 0.1f, -0.2f, 0.f};
    std::vector<float> ol(4, 5.f), orr(4, 5.f);
    float* in[2] = {l.data(), r.data()};
    float* out[2] = {ol.data(), orr.data()};
    int c = 0;
    float il, ir, oL, oR;

    p.set_InputLevel(-393216);
    p.set_OutputLevel(-393216);
    p.Transform(in, 4, out, &c);
    p.GetVU(&il, &ir, &oL, &oR);
    const float g = (float)std::pow(10.0, -6.0 / 20.0);
    EXPECT_EQ(il, 0.6f * g);
    EXPECT_EQ(ir, 0.3f * g);
    EXPECT_EQ(oL, std::fabs(*std::max_element(ol.begin(), ol.end(),
                                              [](float a, float b)
                                              { return std::fabs(a) < std::fabs(b); })));
    EXPECT_GT(oL, 0.f);

    // Count 0 returns before anything: the peaks of the last block stay.
    p.Transform(in, 0, out, &c);
    EXPECT_EQ(c, 0);
    float il2;
    p.GetVU(&il2, &ir, &oL, &oR);
    EXPECT_EQ(il2, il);

    // Inactive: output untouched, output peaks equal the raw input peaks.
    p.set_OutputLevel(0);
    p.set_Activate(false);
    std::fill(ol.begin(), ol.end(), 5.f);
    p.Transform(in, 4, out, &c);
    EXPECT_EQ(ol, std::vector<float>(4, 5.f));
    p.GetVU(&il, &ir, &oL, &oR);
    EXPECT_EQ(std::vector<float>({il, ir, oL, oR}), std::vector<float>({0.6f, 0.3f, 0.6f, 0.3f}));

    // The over-level flag is set by any output above the threshold and read once.
    p.set_Activate(true);
    p.set_OverLevelThreshold(0);
    p.Transform(in, 4, out, &c);
    bool over = false;
    p.get_OverLevel(&over);
    EXPECT_TRUE(over);
    p.get_OverLevel(&over);
    EXPECT_FALSE(over);
}

TEST(LPF, FormatsMonoAndOtherChannelCounts)
{
    CVRXLPF p(true);
    EXPECT_FALSE(p.SetMediaType(nullptr));
    WAVEFORMATEX bad = FloatFormat(0);
    EXPECT_FALSE(p.SetMediaType(&bad));

    // Mono: the left channel only, its peaks copied to the right. A new format
    // re-creates the filters, so the second pass starts from zero again.
    WAVEFORMATEX mono = FloatFormat(44100, 1);
    std::vector<float> l = Noise(300, 0.5f), ol(300);
    float* in[2] = {l.data(), nullptr};
    float* out[2] = {ol.data(), nullptr};
    int c = 0;
    for (int pass = 0; pass < 2; ++pass)
    {
        ASSERT_TRUE(p.SetMediaType(&mono));
        p.set_CutOff(2000 * 65536);
        p.Transform(in, 300, out, &c);
        EXPECT_EQ(ol, Reference(l, 44100.f, 2000.f, true, 0.f, 0.f));
    }
    float il, ir, oL, oR;
    p.GetVU(&il, &ir, &oL, &oR);
    EXPECT_EQ(il, ir);
    EXPECT_EQ(oL, oR);

    // Three channels: nothing is processed.
    WAVEFORMATEX three = FloatFormat(44100, 3);
    ASSERT_TRUE(p.SetMediaType(&three));
    std::vector<float> r(300, 0.25f), orr(300, 9.f);
    std::fill(ol.begin(), ol.end(), 9.f);
    float* in3[2] = {l.data(), r.data()};
    float* out3[2] = {ol.data(), orr.data()};
    p.Transform(in3, 300, out3, &c);
    EXPECT_EQ(ol, std::vector<float>(300, 9.f));
}

TEST(LPF, LPFDataAndNonFiniteStateReset)
{
    Lpf p(false), fresh(false);
    p.SetSampleSize(16);
    p.set_OutputLevel(65536 * 2);

    // LPFData: filter and one output gain, through the 16-sample scratch.
    std::vector<float> x = Noise(100, 0.5f), y(100);
    p.LPFData(1, x.data(), y.data(), 100);
    std::vector<float> want = Reference(x, 44100.f, 20.f, false, 0.f, 0.f);
    const float og = (float)std::pow(10.0, 2.0 / 20.0);
    for (float& v : want)
        v *= og;
    EXPECT_EQ(y, want);
    p.LPFData(5, x.data(), y.data(), 100); // no such channel: ignored

    p.set_OutputLevel(0);
    Stereo s(64);
    s.l[5] = NAN;
    std::vector<float> ol, orr, wantL, wantR;
    RunLPF(p, s, ol, orr, 64);
    EXPECT_TRUE(std::isnan(ol[63]));
    p.ResetIfBad();
    s.l[5] = 0.f;
    RunLPF(p, s, ol, orr, 64);
    RunLPF(fresh, s, wantL, wantR, 64);
    EXPECT_EQ(ol, wantL);  // the left state started again from zero
    EXPECT_NE(orr, wantR); // the right one was healthy and kept its history
}

TEST(LPF, ChainEqualsTwoTransforms)
{
    Stereo s(1500, 21u);
    for (bool secondActive : {true, false})
        for (int chunk : {1500, 1, 2, 5, 255})
        {
            Lpf a1(false, 4000), a2(true, 8000), b1(false, 4000), b2(true, 8000);
            for (CVRXLPF* p : {&a1, &a2, &b1, &b2})
                p->set_OverLevelThreshold(1);
            for (CVRXLPF* p : {&a1, &b1})
            {
                p->set_InputLevel(6 * 65536);
                p->set_OutputLevel(-65536);
            }
            for (CVRXLPF* p : {&a2, &b2})
            {
                p->set_InputLevel(3 * 65536);
                p->set_Activate(secondActive);
            }
            // got: mid l, mid r, out l, out r; want: the same from two calls.
            std::vector<std::vector<float>> got(4, std::vector<float>(1500, 7.f)), want = got;
            RunStereo(s.l, s.r, got[0], got[1], chunk,
                      [&](float** in, float** mid, size_t done, int n)
                      {
                          float* out[2] = {got[2].data() + done, got[3].data() + done};
                          float* w[4] = {want[0].data() + done, want[1].data() + done,
                                         want[2].data() + done, want[3].data() + done};
                          ASSERT_TRUE(CVRXLPF::TransformChain(a1, a2, in, n, mid, out));
                          int c = 0;
                          b1.Transform(in, n, w, &c);
                          b2.Transform(w, n, w + 2, &c);
                      });
            EXPECT_EQ(got, want) << secondActive << " " << chunk;
            for (auto [a, b] : {std::make_pair(&a1, &b1), std::make_pair(&a2, &b2)})
            {
                float x[4], y[4];
                a->GetVU(&x[0], &x[1], &x[2], &x[3]);
                b->GetVU(&y[0], &y[1], &y[2], &y[3]);
                EXPECT_TRUE(std::equal(x, x + 4, y));
                bool o1 = false, o2 = true;
                a->get_OverLevel(&o1);
                b->get_OverLevel(&o2);
                EXPECT_EQ(o1, o2);
            }
        }
}
