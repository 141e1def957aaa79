// Filter processor: fixed-point interface, the block path against a literal
// reference (gains, filter, output gain twice), metering, the over-level flag,
// and processing without allocation whatever the block length.
#include "CVRXLPF.h"
#include "DspTestUtil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace dsptest;

// Allocations made by this test program so far, -1 when not counted
// (AllocationCounter.cpp).
long AllocationCount();

namespace
{
WAVEFORMATEX Format(uint32_t rate, uint16_t channels = 2)
{
    WAVEFORMATEX f{};
    f.wFormatTag = WAVE_FORMAT_IEEE_FLOAT;
    f.nChannels = channels;
    f.nSamplesPerSec = rate;
    f.nAvgBytesPerSec = rate * 8;
    f.nBlockAlign = 8;
    f.wBitsPerSample = 32;
    return f;
}

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
    const size_t n = s.l.size();
    ol.assign(n, 0.f);
    orr.assign(n, 0.f);
    for (size_t done = 0; done < n; done += (size_t)chunk)
    {
        float* in[2] = {s.l.data() + done, s.r.data() + done};
        float* out[2] = {ol.data() + done, orr.data() + done};
        int outCount = -1;
        const int count = (int)std::min((size_t)chunk, n - done);
        ASSERT_TRUE(p.Transform(in, count, out, &outCount));
        ASSERT_EQ(outCount, count);
    }
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
    bool b = false;
    lp.get_Type(&b);
    EXPECT_TRUE(b);
    lp.get_Activate(&b);
    EXPECT_TRUE(b);
    lp.get_InputLevel(&v);
    EXPECT_EQ(v, 0);
    lp.get_OutputLevel(&v);
    EXPECT_EQ(v, 0);
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
    lp.set_CutOff((int)(1234.25 * 65536));
    lp.get_CutOff(&v);
    EXPECT_EQ(v, (int)(1234.25 * 65536));
    lp.set_OverLevelThreshold(3);
    lp.get_OverLevelThreshold(&v);
    EXPECT_EQ(v, 3);
    EXPECT_FALSE(lp.get_CutOff(nullptr));
}

TEST(LPF, TransformMatchesReferenceInAnyChunks)
{
    Stereo s(3000);
    const std::vector<float> wantL = Reference(s.l, 44100.f, 3000.f, false, 3.f, -6.f);
    const std::vector<float> wantR = Reference(s.r, 44100.f, 3000.f, false, 3.f, -6.f);
    for (int chunk : {3000, 1, 2, 31, 255})
    {
        CVRXLPF p(false);
        WAVEFORMATEX f = Format(44100);
        ASSERT_TRUE(p.SetMediaType(&f));
        p.SetSampleSize(64); // smaller than some chunks: still no overrun
        p.set_CutOff(3000 * 65536);
        p.set_InputLevel(3 * 65536);
        p.set_OutputLevel(-6 * 65536);
        std::vector<float> ol, orr;
        RunLPF(p, s, ol, orr, chunk);
        EXPECT_EQ(ol, wantL) << chunk;
        EXPECT_EQ(orr, wantR) << chunk;
    }
}

TEST(LPF, TransformNeverAllocates)
{
    if (AllocationCount() < 0)
        GTEST_SKIP() << "allocations are not counted in a sanitizer build";
    CVRXLPF p(true);
    WAVEFORMATEX f = Format(48000);
    p.SetMediaType(&f);
    Stereo s(4096);
    std::vector<float> ol(4096), orr(4096);
    float* in[2] = {s.l.data(), s.r.data()};
    float* out[2] = {ol.data(), orr.data()};
    int outCount = 0;
    const long before = AllocationCount();
    p.Transform(in, 100, out, &outCount); // no work buffers prepared
    p.SetSampleSize(0);
    const long afterPrepare = AllocationCount();
    p.Transform(in, 4096, out, &outCount); // longer than prepared
    p.Transform(in, 7, out, &outCount);
    EXPECT_EQ(before, afterPrepare - 5); // only SetSampleSize's five buffers
    EXPECT_EQ(AllocationCount(), afterPrepare);
}

TEST(LPF, OutputLevelActsTwiceAndButterworthShape)
{
    const double rate = 44100.0;
    auto gainDb = [&](CVRXLPF& p, double freq)
    {
        return MeasureGainDb(
            [&](const float* in, float* out, int n)
            {
                std::vector<float> l(in, in + n), r(in, in + n), outR((size_t)n);
                float* ins[2] = {l.data(), r.data()};
                float* outs[2] = {out, outR.data()};
                int c = 0;
                p.Transform(ins, n, outs, &c);
            },
            freq, rate);
    };
    WAVEFORMATEX f = Format(44100);
    CVRXLPF lp(true);
    lp.SetMediaType(&f);
    lp.set_CutOff(5000 * 65536);
    const double warped = rate / kPi * std::atan(kPi * 5000.0 / rate);
    EXPECT_NEAR(gainDb(lp, warped), -3.0103, 0.05);
    CVRXLPF quiet(true);
    quiet.SetMediaType(&f);
    quiet.set_CutOff(5000 * 65536);
    quiet.set_OutputLevel(-393216); // -6 dB
    EXPECT_NEAR(gainDb(quiet, 200.0), -12.0, 0.05);
    CVRXLPF hp(false);
    hp.SetMediaType(&f);
    EXPECT_NEAR(gainDb(hp, 1000.0), 0.0, 0.01); // default 20 Hz high-pass
}

TEST(LPF, MeteringInactiveAndOverLevel)
{
    WAVEFORMATEX f = Format(44100);
    CVRXLPF p(true);
    p.SetMediaType(&f);
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
    EXPECT_EQ(oL,
              std::max({std::fabs(ol[0]), std::fabs(ol[1]), std::fabs(ol[2]), std::fabs(ol[3])}));
    EXPECT_GT(oL, 0.f);

    // Count 0 returns before anything: the peaks of the last block stay.
    p.Transform(in, 0, out, &c);
    EXPECT_EQ(c, 0);
    float il2;
    p.GetVU(&il2, &ir, &oL, &oR);
    EXPECT_EQ(il2, il);

    p.set_OutputLevel(0);
    // Inactive: output untouched, output peaks equal the raw input peaks.
    p.set_Activate(false);
    std::fill(ol.begin(), ol.end(), 5.f);
    p.Transform(in, 4, out, &c);
    EXPECT_EQ(ol, std::vector<float>(4, 5.f));
    p.GetVU(&il, &ir, &oL, &oR);
    EXPECT_EQ(il, 0.6f);
    EXPECT_EQ(ir, 0.3f);
    EXPECT_EQ(oL, il);
    EXPECT_EQ(oR, ir);

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
    WAVEFORMATEX bad = Format(0);
    EXPECT_FALSE(p.SetMediaType(&bad));

    // Mono: the left channel only, its peaks copied to the right.
    WAVEFORMATEX mono = Format(44100, 1);
    ASSERT_TRUE(p.SetMediaType(&mono));
    p.set_CutOff(2000 * 65536);
    std::vector<float> l = Noise(300, 0.5f), ol(300);
    float* in[2] = {l.data(), nullptr};
    float* out[2] = {ol.data(), nullptr};
    int c = 0;
    p.Transform(in, 300, out, &c);
    EXPECT_EQ(ol, Reference(l, 44100.f, 2000.f, true, 0.f, 0.f));
    float il, ir, oL, oR;
    p.GetVU(&il, &ir, &oL, &oR);
    EXPECT_EQ(il, ir);
    EXPECT_EQ(oL, oR);

    // A new format re-creates the filters: the state starts from zero again.
    p.Transform(in, 300, out, &c);
    ASSERT_TRUE(p.SetMediaType(&mono));
    p.Transform(in, 300, out, &c);
    EXPECT_EQ(ol, Reference(l, 44100.f, 2000.f, true, 0.f, 0.f));

    // Three channels: nothing is processed.
    WAVEFORMATEX three = Format(44100, 3);
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
    WAVEFORMATEX f = Format(44100);
    CVRXLPF p(false), fresh(false);
    p.SetMediaType(&f);
    fresh.SetMediaType(&f);
    p.SetSampleSize(16);
    p.set_OutputLevel(65536 * 2);

    // LPFData: filter and one output gain, through the 16-sample scratch.
    std::vector<float> x = Noise(100, 0.5f), y(100);
    p.LPFData(1, x.data(), y.data(), 100);
    std::vector<float> want = Reference(x, 44100.f, 20.f, false, 0.f, 0.f);
    const float og = (float)std::pow(10.0, 2.0 / 20.0);
    for (size_t i = 0; i < x.size(); ++i)
        ASSERT_EQ(y[i], og * (want[i])) << i;
    p.LPFData(5, x.data(), y.data(), 100); // no such channel: ignored

    p.set_OutputLevel(0);
    Stereo s(64);
    s.l[5] = NAN;
    std::vector<float> ol, orr;
    RunLPF(p, s, ol, orr, 64);
    EXPECT_TRUE(std::isnan(ol[63]));
    p.ResetIfBad();
    s.l[5] = 0.f;
    std::vector<float> wantL, wantR;
    RunLPF(p, s, ol, orr, 64);
    RunLPF(fresh, s, wantL, wantR, 64);
    EXPECT_EQ(ol, wantL);  // the left state started again from zero
    EXPECT_NE(orr, wantR); // the right one was healthy and kept its history
}

TEST(LPF, ChainEqualsTwoTransforms)
{
    WAVEFORMATEX f = Format(44100);
    Stereo s(1500, 21u);
    for (bool secondActive : {true, false})
        for (int chunk : {1500, 1, 2, 3, 4, 5, 31, 255})
        {
            CVRXLPF a1(false), a2(true), b1(false), b2(true);
            for (CVRXLPF* p : {&a1, &a2, &b1, &b2})
            {
                p->SetMediaType(&f);
                p->set_OverLevelThreshold(1);
            }
            for (CVRXLPF* p : {&a1, &b1})
            {
                p->set_CutOff(4000 * 65536);
                p->set_InputLevel(6 * 65536);
                p->set_OutputLevel(-65536);
            }
            for (CVRXLPF* p : {&a2, &b2})
            {
                p->set_CutOff(8000 * 65536);
                p->set_InputLevel(3 * 65536);
                p->set_Activate(secondActive);
            }
            std::vector<float> ml(1500), mr(1500), ol(1500, 7.f), orr(1500, 7.f);
            std::vector<float> wml(1500), wmr(1500), wol(1500, 7.f), wor(1500, 7.f);
            for (int done = 0; done < 1500; done += chunk)
            {
                const int n = std::min(chunk, 1500 - done);
                float* in[2] = {s.l.data() + done, s.r.data() + done};
                float* mid[2] = {ml.data() + done, mr.data() + done};
                float* out[2] = {ol.data() + done, orr.data() + done};
                float* wmid[2] = {wml.data() + done, wmr.data() + done};
                float* wout[2] = {wol.data() + done, wor.data() + done};
                ASSERT_TRUE(CVRXLPF::TransformChain(a1, a2, in, n, mid, out));
                int c = 0;
                b1.Transform(in, n, wmid, &c);
                b2.Transform(wmid, n, wout, &c);
            }
            EXPECT_EQ(ml, wml);
            EXPECT_EQ(mr, wmr);
            EXPECT_EQ(ol, wol);
            EXPECT_EQ(orr, wor);
            for (auto pair : {std::make_pair(&a1, &b1), std::make_pair(&a2, &b2)})
            {
                float got[4], want[4];
                pair.first->GetVU(&got[0], &got[1], &got[2], &got[3]);
                pair.second->GetVU(&want[0], &want[1], &want[2], &want[3]);
                for (int k = 0; k < 4; ++k)
                    EXPECT_EQ(got[k], want[k]);
                bool o1 = false, o2 = true;
                pair.first->get_OverLevel(&o1);
                pair.second->get_OverLevel(&o2);
                EXPECT_EQ(o1, o2);
            }
        }
}
