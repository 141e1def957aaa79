// The built DeEsser.clap rendering side by side with the built DeEsser.so, each
// loaded through its own entry: the same settings (display values on the CLAP
// side, the table's normalised values on the VST side) give the same samples,
// bit for bit, with parameter events inside blocks, odd block lengths and an
// activation cycle. Processing allocates nothing.
#include "AllocationCounter.h"
#include "ClapTestHost.h"
#include "HostHarness.h"
#include "ParamTable.h"
#include "TestFiles.h"
#include "TestSignal.h"

#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace
{
constexpr float kRate = 44100.f;
constexpr uint32_t kBlock = 256;

// A setting in display units.
struct Setting
{
    int index;
    double plain;
};

// Every parameter away from its default; split-band mode.
const Setting kSettings[] = {{kParamOnOff, 1},       {kParamOutput, 3},       {kParamInput, -6},
                             {kParamThreshold, -30}, {kParamRatio, 4},        {kParamAttack, 1},
                             {kParamRelease, 0.1},   {kParamLowFreq, 5000},   {kParamHiFreq, 9000},
                             {kParamSideChain, 0},   {kParamAutoThreshold, 0}};

class ClapAudio : public testing::Test
{
protected:
    void SetUp() override
    {
        UseScratchSettings();
        ASSERT_NE(clap.Create(), nullptr);
        vst = std::make_unique<HostHarness>();
        ASSERT_NE(vst->Create(), nullptr);
        vst->Dispatch(effOpen);
        ClapEventList events;
        for (const Setting& s : kSettings)
        {
            events.Add(0, (clap::Id)s.index, s.plain);
            SetVst(s);
        }
        clap.Flush(&events);
    }

    // As the VST host stores it: gains at 6 dB per doubling.
    void SetVst(const Setting& s)
    {
        const bool gain = s.index == kParamOutput || s.index == kParamInput;
        const double value = gain ? std::exp2(s.plain / 6.0) : s.plain;
        vst->effect->setParameter(vst->effect, s.index, ValToNormalizeValue(s.index, (float)value));
    }

    void Start()
    {
        ASSERT_TRUE(clap.Plugin()->activate(clap.Plugin(), kRate, 1, kBlock));
        ASSERT_TRUE(clap.Plugin()->startProcessing(clap.Plugin()));
        vst->Dispatch(effSetSampleRate, 0, 0, nullptr, kRate);
        vst->Dispatch(effSetBlockSize, 0, kBlock);
        vst->Dispatch(effMainsChanged, 0, 1);
        vst->Dispatch(effStartProcess);
    }

    // The VST effect scales its inputs in place: it gets copies.
    void ProcessVst(size_t pos, float* outL, float* outR, uint32_t n)
    {
        std::vector<float> l(&signal.left[pos], &signal.left[pos] + n),
            r(&signal.right[pos], &signal.right[pos] + n);
        float* in[2] = {l.data(), r.data()};
        float* out[2] = {outL, outR};
        vst->effect->processReplacing(vst->effect, in, out, (VstInt32)n);
    }

    // Renders `frames` of the signal from `pos` through both, in blocks of
    // the given lengths (cycled); false at the first differing sample.
    bool RenderBoth(size_t pos, size_t frames, const std::vector<uint32_t>& blocks)
    {
        std::vector<float> cl(frames), cr(frames), vl(frames), vr(frames);
        for (size_t done = 0, k = 0; done < frames; ++k)
        {
            const uint32_t n = (uint32_t)std::min<size_t>(blocks[k % blocks.size()], frames - done);
            clap.Process(&signal.left[pos + done], &signal.right[pos + done], &cl[done], &cr[done],
                         n);
            ProcessVst(pos + done, &vl[done], &vr[done], n);
            done += n;
        }
        return cl == vl && cr == vr;
    }

    testsignal::Vocal signal{(int)kRate};
    ClapTestHost clap{DEESSER_CLAP_PATH};
    std::unique_ptr<HostHarness> vst; // made once the settings folder is set
};

TEST_F(ClapAudio, SameSamplesAsTheVstBuildWithEventsInsideBlocksAndAcrossActivations)
{
    Start();
    EXPECT_TRUE(RenderBoth(0, 3000, {1, 2, 31, 255, 0, 256, 7}));

    // Events at offsets 0, 37, 200 and the last frame of one block.
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
    const size_t at = 3000;
    std::vector<float> cl(kBlock), cr(kBlock), vl(kBlock), vr(kBlock);
    clap.Process(&signal.left[at], &signal.right[at], cl.data(), cr.data(), kBlock, &events);
    uint32_t done = 0;
    for (const auto& c : changes)
    {
        ProcessVst(at + done, &vl[done], &vr[done], c.time - done);
        SetVst(c.setting);
        done = c.time;
    }
    ProcessVst(at + done, &vl[done], &vr[done], kBlock - done);
    EXPECT_EQ(cl, vl);
    EXPECT_EQ(cr, vr);
    EXPECT_TRUE(RenderBoth(at + kBlock, 8192, {kBlock}));

    // Mains off and on switch "ON/OFF" as under a VST host; the host hears of both.
    clap.Plugin()->deactivate(clap.Plugin());
    vst->Dispatch(effMainsChanged, 0, 0);
    EXPECT_EQ(clap.Value(kParamOnOff), 0.0);
    Start();
    EXPECT_EQ(clap.Value(kParamOnOff), 1.0);
    EXPECT_EQ(clap.valueRescans, 2);
    EXPECT_TRUE(RenderBoth(20000, 8192, {kBlock}));
}

TEST_F(ClapAudio, ProcessingAllocatesNothing)
{
    if (AllocationCount() < 0)
        GTEST_SKIP() << "allocations are not counted under a sanitizer";
    ASSERT_TRUE(clap.Plugin()->activate(clap.Plugin(), kRate, 1, 512));
    std::vector<float> l(signal.left.begin(), signal.left.begin() + 2048), r(l), out(2048);
    ClapEventList events;
    events.Add(3, kParamThreshold, -20.0);
    events.Add(100, kParamSideChain, 1.0);
    const long before = AllocationCount();
    for (uint32_t n : {512u, 0u, 1u, 31u, 2048u})
    {
        clap.Process(l.data(), r.data(), out.data(), out.data(), n, &events);
        clap.Process(l.data(), r.data(), l.data(), r.data(), n); // in place
    }
    EXPECT_EQ(AllocationCount() - before, 0);
}
} // namespace
