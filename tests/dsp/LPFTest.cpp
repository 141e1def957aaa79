// Filter processor: the block path against a reference built from its parts
// (gains, filter, output gain twice) without allocation whatever the block
// length, meters, formats, state reset, and the chain of two processors.
#include "AllocationCounter.h"
#include "CVRXLPF.h"
#include "DspTestUtil.h"

#include <gtest/gtest.h>

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

// in * inputGain -> Butterworth -> * outputGain (over-level test) -> * outputGain
// (LPFData: outGains 1), one channel, written from the definitions.
std::vector<float> Reference(const std::vector<float>& in, float cutoff, bool lowPass, float inDb,
                             float outDb, int outGains = 2)
{
    float ig = (float)std::pow(10.0, (double)inDb / 20.0);
    float og = (float)std::pow(10.0, (double)outDb / 20.0);
    CIIRFilter f;
    f.SetParams(1.f / 44100.f, cutoff, lowPass);
    std::vector<float> work = in, y(in.size());
    for (float& v : work)
        v *= ig;
    f.OperateEqualizer(work.data(), y.data(), (int)in.size());
    for (float& v : y)
        v = outGains == 2 ? (og * v) * og : og * v;
    return y;
}

std::vector<float> VU(CVRXLPF& p) // in l, in r, out l, out r
{
    std::vector<float> v(4);
    p.GetVU(&v[0], &v[1], &v[2], &v[3]);
    return v;
}

void RunLPF(CVRXLPF& p, std::vector<float>& l, std::vector<float>& r, std::vector<float>& ol,
            std::vector<float>& orr, int chunk)
{
    RunStereo(l, r, ol, orr, chunk,
              [&](float** in, float** out, size_t, int count)
              {
                  int outCount = -1;
                  ASSERT_TRUE(p.Transform(in, count, out, &outCount));
                  ASSERT_EQ(outCount, count);
              });
}
} // namespace

TEST(LPF, TransformMatchesReferenceInAnyChunksWithoutAllocating)
{
    std::vector<float> l = Noise(3000, 0.9f, 1u), r = Noise(3000, 0.7f, 2u);
    const std::vector<float> wantL = Reference(l, 3000.f, false, 3.f, -6.f);
    const std::vector<float> wantR = Reference(r, 3000.f, false, 3.f, -6.f);
    std::vector<float> ol(3000), orr(3000);
    for (int chunk : {3000, 1, 255})
    {
        Lpf p(false, 3000);
        if (chunk != 3000)
            p.SetSampleSize(64); // smaller than some chunks; the first run has none
        p.set_InputLevel(3 * 65536);
        p.set_OutputLevel(-6 * 65536);
        const long before = AllocationCount(); // -1 under sanitizers: not counted
        RunLPF(p, l, r, ol, orr, chunk);
        EXPECT_EQ(AllocationCount(), before) << chunk;
        EXPECT_EQ(std::vector({ol, orr}), std::vector({wantL, wantR})) << chunk;
    }
}

// Input meters after the input gain; inactive, output meters = raw input peaks.
TEST(LPF, MetersOverLevelLPFDataAndFixedPoint)
{
    Lpf p(true);
    int v[2];
    p.get_OverLevelThreshold(&v[0]); // the default 2^31, saturated
    p.set_OutputLevel(-393216);
    p.get_OutputLevel(&v[1]); // -6 dB back, truncated toward zero
    EXPECT_EQ(std::vector<int>(v, v + 2), std::vector<int>({2147483647, -393216}));
    p.set_InputLevel(-393216);
    std::vector<float> l = {0.1f, -0.6f, 0.2f, 0.f}, r = {0.3f, 0.1f, -0.2f, 0.f}, ol(4), orr;
    p.LPFData(0, l.data(), ol.data(), 4);
    EXPECT_EQ(ol, Reference(l, 20000.f, true, 0.f, -6.f, 1));
    p.set_OverLevelThreshold(0); // any output sets the flag, cleared when read
    RunLPF(p, l, r, ol, orr, 4);
    EXPECT_EQ(VU(p)[0], 0.6f * (float)std::pow(10.0, -6.0 / 20.0));
    bool over = false;
    EXPECT_TRUE(p.get_OverLevel(&over) && over);
    EXPECT_TRUE(p.get_OverLevel(&over) && !over);
    p.set_Activate(false);
    RunLPF(p, l, r, ol, orr, 4);
    EXPECT_EQ(VU(p), std::vector<float>({0.6f, 0.3f, 0.6f, 0.3f}));
}

TEST(LPF, FormatsMonoAndOtherChannelCounts)
{
    CVRXLPF p(true);
    EXPECT_FALSE(p.SetMediaType(nullptr));
    WAVEFORMATEX bad = FloatFormat(0);
    EXPECT_FALSE(p.SetMediaType(&bad));

    // Mono: the left channel only. A new format re-creates the filters, so the
    // second pass starts from zero again.
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
        EXPECT_EQ(ol, Reference(l, 2000.f, true, 0.f, 0.f));
    }

    // Three channels: nothing is processed.
    WAVEFORMATEX three = FloatFormat(44100, 3);
    ASSERT_TRUE(p.SetMediaType(&three));
    std::fill(ol.begin(), ol.end(), 9.f);
    float* in3[2] = {l.data(), l.data()};
    float* out3[2] = {ol.data(), ol.data()};
    p.Transform(in3, 300, out3, &c);
    EXPECT_EQ(ol, std::vector<float>(300, 9.f));
}

TEST(LPF, NonFiniteStateResetPerChannel)
{
    Lpf p(false), fresh(false);
    std::vector<float> l = Noise(64, 0.9f, 1u), r = Noise(64, 0.7f, 2u), ol, orr, wantL, wantR;
    l[5] = NAN;
    RunLPF(p, l, r, ol, orr, 64);
    EXPECT_TRUE(std::isnan(ol[63]));
    p.ResetIfBad();
    l[5] = 0.f;
    RunLPF(p, l, r, ol, orr, 64);
    RunLPF(fresh, l, r, wantL, wantR, 64);
    EXPECT_EQ(ol, wantL);  // the left state started again from zero
    EXPECT_NE(orr, wantR); // the right one was healthy and kept its history
}

TEST(LPF, ChainEqualsTwoTransforms)
{
    std::vector<float> l = Noise(1500, 0.9f, 21u), r = Noise(1500, 0.7f, 22u);
    for (bool secondActive : {true, false})
        for (int chunk : {1500, 1, 2, 5})
        {
            Lpf a1(false, 4000), a2(true, 8000), b1(false, 4000), b2(true, 8000);
            for (CVRXLPF* p : {&a1, &a2, &b1, &b2})
                p->set_InputLevel(6 * 65536);
            for (CVRXLPF* p : {&a1, &b1})
                p->set_OutputLevel(-65536);
            a2.set_Activate(secondActive);
            b2.set_Activate(secondActive);
            // got: mid l, mid r, out l, out r; want: the same from two calls.
            std::vector<std::vector<float>> got(4, std::vector<float>(1500, 7.f)), want = got;
            RunStereo(l, r, got[0], got[1], chunk,
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
            EXPECT_EQ(std::vector({VU(a1), VU(a2)}), std::vector({VU(b1), VU(b2)}));
        }
}
