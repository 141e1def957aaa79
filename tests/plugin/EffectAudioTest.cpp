// The effect's block processing seen from inside, against the same filters
// run here: side-chain de-essing, the key in side-chain listen, the split-band
// sum, its compressed middle band and its listen, the meters and counters.
#include "ADeEsser.h"
#include "CBiquadFilter.h"
#include "CVRXLPF.h"
#include "TestSignal.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>
#include <vector>

namespace
{
constexpr int kN = 256;

class EffectAudio : public ::testing::Test
{
protected:
    void SetUp() override
    {
        setenv("XDG_CONFIG_HOME", "/nonexistent-deesser-test", 1);
        fx = std::make_unique<ADeEsser>(nullptr);
        fx->setParameter(kParamAutoThreshold, 0.f);
        for (int i = 0; i < kN; ++i)
        {
            l[i] = (float)(0.4 * std::sin(0.03 * i) + 0.2 * std::sin(0.9 * i));
            r[i] = (float)(0.3 * std::sin(0.05 * i) - 0.2 * std::sin(1.1 * i));
        }
    }

    void Run()
    {
        float in0[kN], in1[kN];
        std::copy(l, l + kN, in0);
        std::copy(r, r + kN, in1);
        float* in[2] = {in0, in1};
        float* out[2] = {ol, orr};
        fx->processReplacing(in, out, kN);
    }

    std::unique_ptr<ADeEsser> fx;
    float l[kN], r[kN], ol[kN], orr[kN];
};
} // namespace

TEST_F(EffectAudio, ListenInSideChainModeOutputsTheKey)
{
    fx->setParameter(kParamOutput, 1.f); // output gain must not apply
    fx->SetListen(true);
    Run();
    // The key: high-pass at 4 kHz, then low-pass at 8 kHz.
    CVRXLPF hp(false), lp(true);
    WAVEFORMATEX wf{WAVE_FORMAT_IEEE_FLOAT, 2, 44100, 352800, 8, 32, 0};
    for (auto [filter, cutoff] : {std::pair{&hp, 4000}, {&lp, 8000}})
    {
        filter->SetMediaType(&wf);
        filter->set_CutOff(cutoff * 65536);
        filter->SetSampleSize(kN);
    }
    float m0[kN], m1[kN], k0[kN], k1[kN];
    float* in[2] = {l, r};
    float* mid[2] = {m0, m1};
    float* key[2] = {k0, k1};
    int count = 0;
    hp.Transform(in, kN, mid, &count);
    lp.Transform(mid, kN, key, &count);
    EXPECT_EQ(std::vector<float>(ol, ol + kN), std::vector<float>(k0, k0 + kN));
    EXPECT_EQ(std::vector<float>(orr, orr + kN), std::vector<float>(k1, k1 + kN));
    float g = 0.f;
    fx->GetReductionVU(&g);
    EXPECT_EQ(g, 1.f);
}

// Side-chain mode turns the whole signal down while the key band (4-8 kHz) is
// loud: the sibilants (above 5 kHz) lose 3 dB more than the voice (below 3).
TEST_F(EffectAudio, SideChainTamesSibilanceMoreThanTheVoice)
{
    const testsignal::Vocal vocal(44100);
    fx->setParameter(kParamThreshold, ValToNormalizeValue(kParamThreshold, -30.f));
    fx->setParameter(kParamRatio, ValToNormalizeValue(kParamRatio, 4.f));
    std::vector<float> io[2] = {vocal.left, vocal.right};
    float* p[2] = {io[0].data(), io[1].data()};
    fx->processReplacing(p, p, 44100);
    auto energy = [](std::vector<float> x, float cutoff, bool lowPass)
    {
        CIIRFilter filter;
        filter.SetParams(1.f / 44100, cutoff, lowPass);
        filter.OperateEqualizer(x.data(), x.data(), (int)x.size());
        return std::inner_product(x.begin(), x.end(), x.begin(), 0.0);
    };
    EXPECT_LT(energy(io[0], 5000, false) / energy(vocal.left, 5000, false),
              0.5 * energy(io[0], 3000, true) / energy(vocal.left, 3000, true));
}

TEST_F(EffectAudio, SplitBandIsTwoThirdsOfTheThreeBandsTheMiddleOneCompressed)
{
    fx->setParameter(kParamSideChain, 0.f);
    // The bands as the effect makes them, one block at a time.
    CBiquadFilter lowHigh, lowLow, hiHigh, hiLow;
    lowHigh.CalcCoefficients(44100.f, 4000.f, -12.f, 1.f, CBiquadFilter::kHighShelf);
    lowLow.CalcCoefficients(44100.f, 4000.f, -12.f, 1.f, CBiquadFilter::kLowShelf);
    hiHigh.CalcCoefficients(44100.f, 8000.f, -12.f, 1.f, CBiquadFilter::kHighShelf);
    hiLow.CalcCoefficients(44100.f, 8000.f, -12.f, 1.f, CBiquadFilter::kLowShelf);
    float low[kN], mid0[kN], mid[kN], high[kN];
    auto bands = [&]
    {
        lowHigh.OperateFilter(l, low, kN);
        lowLow.OperateFilter(l, mid0, kN);
        hiHigh.OperateFilter(mid0, mid, kN);
        hiLow.OperateFilter(l, high, kN);
    };
    // Threshold 0 dB, ratio 1: nothing is compressed.
    Run();
    bands();
    for (int i = 0; i < kN; ++i)
        ASSERT_NEAR(ol[i], (float)(((double)low[i] + mid[i] + high[i]) * (2.0 / 3)), 1e-6f) << i;

    // Threshold -100 dB, ratio 64: the middle band alone is turned down, and
    // the meter shows the reduction three times stronger.
    fx->setParameter(kParamThreshold, 0.f);
    fx->setParameter(kParamRatio, 1.f);
    Run();
    bands();
    double left = 0, whole = 0;
    for (int i = 0; i < kN; ++i)
    {
        left += std::fabs(ol[i] - (low[i] + high[i]) * (2.f / 3));
        whole += std::fabs(mid[i] * (2.f / 3));
    }
    EXPECT_LT(left, 0.5 * whole);
    float g, raw;
    fx->GetReductionVU(&g);
    const_cast<CVRXComp&>(fx->GetComp()).get_GainReductionLevel(&raw);
    ASSERT_LT(raw, 0.95f);
    EXPECT_FLOAT_EQ(g, raw / 3.f);

    // Split-band listen: the middle band alone, no output gain.
    fx->SetListen(true);
    fx->setParameter(kParamOutput, 1.f);
    Run();
    lowLow.OperateFilter(l, mid0, kN);
    hiHigh.OperateFilter(mid0, mid, kN);
    EXPECT_EQ(std::vector<float>(ol, ol + kN), std::vector<float>(mid, mid + kN));
}

TEST_F(EffectAudio, MetersAndCounters)
{
    EXPECT_EQ(fx->GetBlockCounters(), 0xFFFFFFFFu);
    fx->setParameter(kParamOnOff, 0.f);
    fx->setParameter(kParamInput, 0.5f);
    Run();
    EXPECT_EQ(fx->GetBlockCounters(), 0u); // both halves wrapped to 0
    std::array<float, 4> vu;               // input left, right, output left, right
    fx->GetVU(&vu[0], &vu[1], &vu[2], &vu[3]);
    float peakL = 0, peakR = 0;
    for (int i = 0; i < kN; ++i)
    {
        EXPECT_EQ(ol[i], l[i] * 0.5f);
        peakL = std::max(peakL, std::fabs(l[i] * 0.5f));
        peakR = std::max(peakR, std::fabs(r[i] * 0.5f));
    }
    EXPECT_EQ(vu, (std::array<float, 4>{peakL, peakR, peakL, peakR}));

    // A block of 0 frames advances the counters and clears the peaks.
    float* none[2] = {l, r};
    fx->processReplacing(none, none, 0);
    EXPECT_EQ(fx->GetBlockCounters(), 0x00010001u);
    fx->GetVU(&vu[0], &vu[1], &vu[2], &vu[3]);
    EXPECT_EQ(vu, (std::array<float, 4>{}));
}
