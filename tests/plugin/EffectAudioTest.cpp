// The effect's block processing seen from inside: listen, the split-band sum,
// the meters and the block counters.
#include "ADeEsser.h"
#include "CBiquadFilter.h"
#include "CVRXLPF.h"
#include "FakeEditor.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>

namespace
{
constexpr int kN = 256;

class EffectAudio : public ::testing::Test
{
protected:
    void SetUp() override
    {
        setenv("XDG_CONFIG_HOME", "/nonexistent-deesser-test", 1);
        fx = new ADeEsser(nullptr);
        fx->setParameter(kParamAutoThreshold, 0.f);
        for (int i = 0; i < kN; ++i)
        {
            l[i] = (float)(0.4 * std::sin(0.03 * i) + 0.2 * std::sin(0.9 * i));
            r[i] = (float)(0.3 * std::sin(0.05 * i) - 0.2 * std::sin(1.1 * i));
        }
    }
    void TearDown() override { delete fx; }

    void Run()
    {
        float in0[kN], in1[kN];
        std::copy(l, l + kN, in0);
        std::copy(r, r + kN, in1);
        float* in[2] = {in0, in1};
        float* out[2] = {ol, orr};
        fx->processReplacing(in, out, kN);
    }

    ADeEsser* fx = nullptr;
    float l[kN], r[kN], ol[kN], orr[kN];
};
} // namespace

TEST_F(EffectAudio, ListenInSideChainModeOutputsTheKey)
{
    fx->setParameter(kParamOutput, 1.f); // output gain must not apply
    fx->SetListen(true);
    Run();
    // The key made by the same two filter processors, fresh.
    CVRXLPF hp(false), lp(true);
    WAVEFORMATEX wf{WAVE_FORMAT_IEEE_FLOAT, 2, 44100, 352800, 8, 32, 0};
    hp.SetMediaType(&wf);
    lp.SetMediaType(&wf);
    hp.set_CutOff(4000 * 65536);
    lp.set_CutOff(8000 * 65536);
    hp.SetSampleSize(kN);
    lp.SetSampleSize(kN);
    float m0[kN], m1[kN], k0[kN], k1[kN];
    float* in[2] = {l, r};
    float* mid[2] = {m0, m1};
    float* key[2] = {k0, k1};
    int count = 0;
    hp.Transform(in, kN, mid, &count);
    lp.Transform(mid, kN, key, &count);
    for (int i = 0; i < kN; ++i)
    {
        ASSERT_EQ(ol[i], k0[i]) << i;
        ASSERT_EQ(orr[i], k1[i]) << i;
    }
    float g = 0.f;
    fx->GetReductionVU(&g);
    EXPECT_EQ(g, 1.f);
}

TEST_F(EffectAudio, SplitBandAtUnityIsTwoThirdsOfTheThreeBands)
{
    fx->setParameter(kParamSideChain, 0.f);
    Run();
    CBiquadFilter lowHigh, lowLow, hiHigh, hiLow;
    lowHigh.CalcCoefficients(44100.f, 4000.f, -12.f, 1.f, CBiquadFilter::kHighShelf);
    lowLow.CalcCoefficients(44100.f, 4000.f, -12.f, 1.f, CBiquadFilter::kLowShelf);
    hiHigh.CalcCoefficients(44100.f, 8000.f, -12.f, 1.f, CBiquadFilter::kHighShelf);
    hiLow.CalcCoefficients(44100.f, 8000.f, -12.f, 1.f, CBiquadFilter::kLowShelf);
    float low[kN], mid0[kN], mid[kN], high[kN];
    lowHigh.OperateFilter(l, low, kN);
    lowLow.OperateFilter(l, mid0, kN);
    hiHigh.OperateFilter(mid0, mid, kN);
    hiLow.OperateFilter(l, high, kN);
    for (int i = 0; i < kN; ++i)
    {
        float expected = (float)(((double)low[i] + mid[i] + high[i]) * 0.6666666666666666);
        ASSERT_NEAR(ol[i], expected, 1e-6f) << i;
    }
    // Split-band listen: the middle band alone, no output gain.
    fx->SetListen(true);
    fx->setParameter(kParamOutput, 1.f);
    Run();
    float mid0b[kN], midb[kN];
    lowLow.OperateFilter(l, mid0b, kN);
    hiHigh.OperateFilter(mid0b, midb, kN);
    for (int i = 0; i < kN; ++i)
        ASSERT_EQ(ol[i], midb[i]) << i;
}

TEST_F(EffectAudio, MetersAndCounters)
{
    EXPECT_EQ(fx->GetBlockCounters(), 0xFFFFFFFFu);
    fx->setParameter(kParamOnOff, 0.f);
    fx->setParameter(kParamInput, 0.5f);
    Run();
    EXPECT_EQ(fx->GetBlockCounters(), 0u); // both halves wrapped to 0
    float inL, inR, outL, outR;
    fx->GetVU(&inL, &inR, &outL, &outR);
    float peakL = 0, peakR = 0;
    for (int i = 0; i < kN; ++i)
    {
        EXPECT_EQ(ol[i], l[i] * 0.5f);
        peakL = std::max(peakL, std::fabs(l[i] * 0.5f));
        peakR = std::max(peakR, std::fabs(r[i] * 0.5f));
    }
    EXPECT_EQ(inL, peakL);
    EXPECT_EQ(inR, peakR);
    EXPECT_EQ(outL, inL);
    EXPECT_EQ(outR, inR);
    EXPECT_FALSE(fx->GetClip());

    // A block of 0 frames advances the counters and clears the peaks.
    float* none[2] = {l, r};
    fx->processReplacing(none, none, 0);
    EXPECT_EQ(fx->GetBlockCounters(), 0x00010001u);
    fx->GetVU(&inL, &inR, &outL, &outR);
    EXPECT_EQ(inL + inR + outL + outR, 0.f);

    // Split-band reduction below 0.95 is shown three times stronger.
    fx->setParameter(kParamOnOff, 1.f);
    fx->setParameter(kParamInput, 1.f);
    fx->setParameter(kParamSideChain, 0.f);
    fx->setParameter(kParamThreshold, 0.f);
    fx->setParameter(kParamRatio, 1.f);
    Run();
    float g;
    fx->GetReductionVU(&g);
    CVRXComp& comp = const_cast<CVRXComp&>(fx->GetComp());
    float raw;
    comp.get_GainReductionLevel(&raw);
    ASSERT_LT(raw, 0.95f);
    EXPECT_FLOAT_EQ(g, raw / 3.f);
}
