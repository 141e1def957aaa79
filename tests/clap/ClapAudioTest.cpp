// The built DeEsser.clap rendering side by side with the built DeEsser.so, each
// loaded through its own entry: the same settings (display values on the CLAP
// side, the table's normalised values on the VST side) must give the same
// samples, bit for bit, also with parameter events inside blocks, odd block
// lengths and activation cycles. Processing allocates nothing.
#include "AllocationCounter.h"
#include "ClapTestHost.h"
#include "TestFiles.h"
#include "HostHarness.h"
#include "ParamTable.h"
#include "TestSignal.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <vector>

namespace
{
constexpr float kRate = 44100.f;
constexpr uint32_t kBlock = 256;

// A setting in display units and as the VST host stores it.
struct Setting
{
    int index;
    double plain;
};

float Normalised(const Setting& s)
{
    const bool gain = s.index == kParamOutput || s.index == kParamInput;
    return ValToNormalizeValue(s.index, gain ? (float)std::exp2(s.plain / 6.0) : (float)s.plain);
}

// The VST side of the comparison, driven as a VST host drives it.
struct VstSide
{
    VstSide()
    {
        host.Create();
        host.Dispatch(effOpen);
    }
    void Set(int index, float normalised)
    {
        host.effect->setParameter(host.effect, index, normalised);
    }
    void Start()
    {
        host.Dispatch(effSetSampleRate, 0, 0, nullptr, kRate);
        host.Dispatch(effSetBlockSize, 0, kBlock);
        host.Dispatch(effMainsChanged, 0, 1);
        host.Dispatch(effStartProcess);
    }
    void Stop()
    {
        host.Dispatch(effStopProcess);
        host.Dispatch(effMainsChanged, 0, 0);
    }
    // The effect scales its inputs in place: it gets copies.
    void Process(const float* l, const float* r, float* outL, float* outR, int n)
    {
        in[0].assign(l, l + n);
        in[1].assign(r, r + n);
        float* ins[2] = {in[0].data(), in[1].data()};
        float* outs[2] = {outL, outR};
        host.effect->processReplacing(host.effect, ins, outs, n);
    }
    HostHarness host;
    std::vector<float> in[2];
};

// Threshold -30 dB, ratio 4 on the vocal-like signal.
std::vector<Setting> Settings(bool sideChain)
{
    return {{kParamOnOff, 1},        {kParamOutput, 3},
            {kParamInput, -6},       {kParamThreshold, -30},
            {kParamRatio, 4},        {kParamAttack, 1},
            {kParamRelease, 0.1},    {kParamLowFreq, 5000},
            {kParamHiFreq, 9000},    {kParamSideChain, sideChain ? 1.0 : 0.0},
            {kParamAutoThreshold, 0}};
}

class ClapAudio : public testing::Test
{
protected:
    void SetUp() override
    {
        UseScratchSettings();
        ASSERT_NE(clap.Create(), nullptr);
        vst.emplace();
        ASSERT_NE(vst->host.effect, nullptr);
    }

    void Apply(const std::vector<Setting>& settings)
    {
        ClapEventList events;
        for (const Setting& s : settings)
        {
            events.Add(0, (clap::Id)s.index, s.plain);
            vst->Set(s.index, Normalised(s));
        }
        clap.Flush(&events);
    }

    void Start()
    {
        ASSERT_TRUE(clap.Plugin()->activate(clap.Plugin(), kRate, 1, kBlock));
        ASSERT_TRUE(clap.Plugin()->startProcessing(clap.Plugin()));
        vst->Start();
    }

    void Stop()
    {
        clap.Plugin()->stopProcessing(clap.Plugin());
        clap.Plugin()->deactivate(clap.Plugin());
        vst->Stop();
    }

    // Renders `frames` of the signal from `pos` through both, in blocks of
    // the given lengths (cycled); false at the first differing sample.
    bool RenderBoth(size_t pos, size_t frames, const std::vector<uint32_t>& blocks)
    {
        std::vector<float> cl(frames), cr(frames), vl(frames), vr(frames);
        for (size_t done = 0, k = 0; done < frames; ++k)
        {
            const uint32_t n = (uint32_t)std::min<size_t>(blocks[k % blocks.size()], frames - done);
            const float* l = &signal.left[pos + done];
            const float* r = &signal.right[pos + done];
            clap.Process(l, r, &cl[done], &cr[done], n);
            vst->Process(l, r, &vl[done], &vr[done], (int)n);
            done += n;
        }
        return cl == vl && cr == vr;
    }

    testsignal::Vocal signal{(int)kRate * 2};
    ClapTestHost clap{DEESSER_CLAP_PATH};
    std::optional<VstSide> vst; // made once the settings folder is set
};

TEST_F(ClapAudio, SameSamplesAsTheVstBuildInBothModesAnyBlocksAndActivationCycles)
{
    Apply(Settings(true));
    for (int cycle = 0; cycle < 3; ++cycle)
    {
        Apply({{kParamSideChain, cycle == 1 ? 0.0 : 1.0}});
        Start();
        EXPECT_TRUE(RenderBoth(0, 3000, {1, 2, 31, 255, 0, 256, 7})) << cycle;
        EXPECT_TRUE(RenderBoth(3000, signal.left.size() - 3000, {kBlock})) << cycle;
        Stop();
        // Mains off shows the effect as off, as under a VST host.
        EXPECT_EQ(clap.Value(kParamOnOff), 0.0);
    }
    EXPECT_EQ(clap.valueRescans, 5); // every change of "ON/OFF" the cycles made
    Start();
    EXPECT_EQ(clap.Value(kParamOnOff), 1.0);
}

TEST_F(ClapAudio, EventsApplyAtTheirSampleOffsets)
{
    Apply(Settings(false));
    Start();
    // Offsets 0, 37, 200 and the last frame of one block.
    const struct
    {
        uint32_t time;
        Setting setting;
    } changes[] = {{0, {kParamRatio, 8}},
                   {37, {kParamThreshold, -40}},
                   {200, {kParamSideChain, 1}},
                   {kBlock - 1, {kParamOutput, -12}}};
    ClapEventList events;
    for (const auto& c : changes)
        events.Add(c.time, (clap::Id)c.setting.index, c.setting.plain);
    const size_t at = 4096;
    std::vector<float> cl(kBlock), cr(kBlock), vl(kBlock), vr(kBlock);
    ASSERT_TRUE(RenderBoth(0, at, {kBlock}));
    clap.Process(&signal.left[at], &signal.right[at], cl.data(), cr.data(), kBlock, &events);
    uint32_t done = 0;
    for (const auto& c : changes)
    {
        vst->Process(&signal.left[at + done], &signal.right[at + done], &vl[done], &vr[done],
                     (int)(c.time - done));
        vst->Set(c.setting.index, Normalised(c.setting));
        done = c.time;
    }
    vst->Process(&signal.left[at + done], &signal.right[at + done], &vl[done], &vr[done],
                 (int)(kBlock - done));
    EXPECT_EQ(cl, vl);
    EXPECT_EQ(cr, vr);
    EXPECT_TRUE(RenderBoth(at + kBlock, 8192, {kBlock}));
}

TEST_F(ClapAudio, ProcessingAllocatesNothing)
{
    if (AllocationCount() < 0)
        GTEST_SKIP() << "allocations are not counted under a sanitizer";
    Apply(Settings(true));
    ASSERT_TRUE(clap.Plugin()->activate(clap.Plugin(), kRate, 1, 512));
    std::vector<float> l(signal.left.begin(), signal.left.begin() + 2048), r(l), ol(2048),
        orr(2048);
    ClapEventList events;
    events.Add(3, kParamThreshold, -20.0);
    events.Add(100, kParamSideChain, 0.0);
    long allocations = 0;
    for (uint32_t n : {512u, 0u, 1u, 31u, 2048u})
    {
        const long before = AllocationCount();
        clap.Process(l.data(), r.data(), ol.data(), orr.data(), n, &events);
        clap.Process(l.data(), r.data(), l.data(), r.data(), n); // in place
        allocations += AllocationCount() - before;
    }
    EXPECT_EQ(allocations, 0);
}
} // namespace
