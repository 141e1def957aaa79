// The audio path of the built plug-in, through the VST interface, on the kit's
// vocal-like signal: transparency, block-size independence, bad samples.
#include "HostHarness.h"
#include "TestSignal.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

namespace
{
constexpr float kRate = 44100.f;
constexpr float kThreshold30 = 0.7f, kRatio4 = 3.f / 63.f; // -30 dB of -100..0, 4 of 1..64

using Stereo = std::array<std::vector<float>, 2>;

// The kit's vocal signal, `seconds` long.
Stereo VocalStereo(double seconds)
{
    testsignal::Vocal v((int)(seconds * kRate), kRate);
    return {v.left, v.right};
}

class PluginAudio : public ::testing::Test
{
protected:
    void SetUp() override
    {
        setenv("XDG_CONFIG_HOME", "/nonexistent-deesser-test", 1);
        ASSERT_NE(host.Create(), nullptr);
        host.Start(kRate, 256, false);
        // A known program: unity gains (0.999 of 0.001..10), side-chain on,
        // auto threshold off, attack 0 ms, release 0.01 s, key band 4-8 kHz.
        const float values[11] = {1.f, 0.0999100f, 1.f,      1.f, 0.f, 0.f,
                                  0.f, 2.f / 18,   6.f / 18, 1.f, 0.f};
        for (int i = 0; i < 11; ++i)
            Set(i, values[i]);
        host.Dispatch(effMainsChanged, 0, 1);
        host.Dispatch(effStartProcess);
    }
    void Set(int index, float value) { host.effect->setParameter(host.effect, index, value); }

    Stereo Process(Stereo in, int block = 256)
    {
        Stereo out{std::vector<float>(in[0].size()), std::vector<float>(in[0].size())};
        for (size_t done = 0; done < in[0].size(); done += block)
        {
            int n = (int)std::min<size_t>(block, in[0].size() - done);
            float* i[2] = {in[0].data() + done, in[1].data() + done};
            float* o[2] = {out[0].data() + done, out[1].data() + done};
            host.effect->processReplacing(host.effect, i, o, n);
        }
        return out;
    }

    HostHarness host;
};
} // namespace

TEST_F(PluginAudio, RatioOneIsTransparentAndBlockSizeDoesNotMatter)
{
    Stereo in = VocalStereo(0.5);
    Set(3, 0.f); // -100 dB: everything is over the threshold
    Stereo out = Process(in);
    // The output gain nearest to unity is 2^(-1e-7 / 6) or so: float rounding.
    for (int ch = 0; ch < 2; ++ch)
        for (size_t i = 0; i < in[ch].size(); ++i)
            ASSERT_NEAR(out[ch][i], in[ch][i], 1e-6f * std::fabs(in[ch][i])) << ch << " " << i;

    // The same settings in blocks of 256 and in odd blocks give the same
    // samples: filters and envelopes carry their state across calls.
    Set(3, kThreshold30);
    Set(4, kRatio4);
    host.Dispatch(effSetSampleRate, 0, 0, nullptr, kRate); // fresh key filters
    host.Dispatch(effStartProcess);
    Stereo a = Process(in, 256);
    host.Dispatch(effSetSampleRate, 0, 0, nullptr, kRate);
    host.Dispatch(effStartProcess);
    EXPECT_EQ(Process(in, 31), a);
}

TEST_F(PluginAudio, NonFiniteInputDoesNotSilenceTheOutputForGood)
{
    Stereo in = VocalStereo(0.2), bad = in;
    Set(3, kThreshold30);
    Set(4, kRatio4);
    bad[0][100] = NAN;
    bad[1][200] = INFINITY;
    // Side-chain, then split band (its shelving filters): a poisoned state is
    // reset at the end of the block, so the next block is clean again.
    for (float sideChain : {1.f, 0.f})
    {
        Set(9, sideChain);
        Process(bad);
        Stereo out = Process(in);
        for (int ch = 0; ch < 2; ++ch)
            for (size_t i = 0; i < out[ch].size(); ++i)
                ASSERT_TRUE(std::isfinite(out[ch][i])) << sideChain << " " << ch << " " << i;
    }
    // And a host that sends more frames than it announced is served in full.
    Stereo longer = VocalStereo(0.05);
    EXPECT_NE(Process(longer, (int)longer[0].size())[0].back(), 0.f);
}
