// The built DeEsser.clap through clap_entry alone, as hosts and CLAP
// validators see it, and its audio against the built DeEsser.so's, bit for bit.
#include "AllocationCounter.h"
#include "ClapTestHost.h"
#include "HostHarness.h"
#include "ParamRange.h"
#include "TestFiles.h"
#include "TestSignal.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{
class ClapPlugin : public testing::Test
{
protected:
    void SetUp() override
    {
        UseScratchSettings();
        ASSERT_NE(host.Create(), nullptr);
        params = host.Ext<clap::PluginParams>(clap::kExtParams);
        ASSERT_NE(params, nullptr);
    }

    std::string Text(clap::Id id, double value)
    {
        char text[64] = "?";
        return params->valueToText(host.Plugin(), id, value, text, sizeof(text)) ? text : "-";
    }

    double FromText(clap::Id id, const char* text)
    {
        double v = 0;
        return params->textToValue(host.Plugin(), id, text, &v) ? v : NAN;
    }

    void Set(clap::Id id, double value)
    {
        ClapEventList events;
        events.Add(0, id, value);
        host.Flush(&events);
    }

    ClapTestHost host{DEESSER_CLAP_PATH};
    const clap::PluginParams* params = nullptr;
};

TEST_F(ClapPlugin, DescriptorPortsAndParametersAsTheHostSeesThem)
{
    const clap::PluginFactory* factory = host.Factory();
    ASSERT_EQ(factory->getPluginCount(factory), 1u);
    const clap::PluginDescriptor* d = factory->getPluginDescriptor(factory, 0);
    EXPECT_EQ(std::string(d->id) + "|" + d->name + "|" + d->vendor,
              "korvaine.comp2|Comp2|KORVAINE Co.,Ltd.");
    EXPECT_STRNE(d->version, "");
    std::string features;
    for (const char* const* f = d->features; *f; ++f)
        features += std::string(*f) + " ";
    EXPECT_EQ(features, "audio-effect stereo compressor ");

    auto ports = host.Ext<clap::PluginAudioPorts>(clap::kExtAudioPorts);
    for (bool input : {true, false})
    {
        clap::AudioPortInfo info{};
        ASSERT_EQ(ports->count(host.Plugin(), input), 1u);
        ASSERT_TRUE(ports->get(host.Plugin(), 0, input, &info));
        EXPECT_EQ(info.channelCount, 2u);
        EXPECT_STREQ(info.portType, "stereo");
        EXPECT_EQ(info.flags, clap::kAudioPortIsMain);
        EXPECT_EQ(info.inPlacePair, 0u);
        EXPECT_FALSE(ports->get(host.Plugin(), 1, input, &info));
    }
    EXPECT_EQ(host.Ext<clap::PluginLatency>(clap::kExtLatency)->get(host.Plugin()), 0u);

    ASSERT_EQ(params->count(host.Plugin()), (uint32_t)kNumParams);
    for (uint32_t i = 0; i < kNumParams; ++i)
    {
        const ParamRange& r = GetParamRange((int)i);
        clap::ParamInfo info{};
        ASSERT_TRUE(params->getInfo(host.Plugin(), i, &info));
        EXPECT_EQ(info.id, i);
        EXPECT_STREQ(info.name, r.name);
        EXPECT_EQ(info.minValue, r.minPlain) << i;
        EXPECT_EQ(info.maxValue, r.maxPlain) << i;
        // Stepped switches; ON/OFF is on at 1, so not the host's bypass.
        EXPECT_EQ(info.flags, clap::kParamIsAutomatable | (r.toggled ? clap::kParamIsStepped : 0u))
            << i;
        // Validators: the value right after init is the declared default.
        EXPECT_EQ(host.Value(i), info.defaultValue) << i;
    }
}

TEST_F(ClapPlugin, TextsAreTheVstDisplayWithItsLabelAndParseBack)
{
    EXPECT_EQ(Text(3, -30), "-30.0 dB");
    EXPECT_EQ(Text(6, 0.5), "0.50 sec");
    EXPECT_EQ(Text(0, 1), "ON");
    EXPECT_EQ(Text(3, NAN), "-");
    EXPECT_EQ(Text(11, 0), "-");

    EXPECT_EQ(FromText(3, " -30 "), -30.0);
    EXPECT_EQ(FromText(3, "-500 dB"), -100.0); // within the range
    EXPECT_FLOAT_EQ(FromText(6, "0.5 s"), 0.5);
    EXPECT_FLOAT_EQ(FromText(6, "0.50 sec"), 0.5); // as shown: the label
    EXPECT_EQ(FromText(9, "off"), 0.0);
    EXPECT_EQ(FromText(9, "ON"), 1.0);
    for (const char* bad : {"", "abc", "12 parsecs", "nan", "-30 dB dB"})
        EXPECT_TRUE(std::isnan(FromText(3, bad))) << bad;
}

TEST_F(ClapPlugin, StateRoundTripsAndBadStreamsLeaveTheEffectAlone)
{
    Set(3, -35);
    Set(9, 0);
    const std::vector<uint8_t> saved = host.SaveState();
    ASSERT_EQ(saved.size(), 16u + 2304u);

    ClapTestHost other(DEESSER_CLAP_PATH);
    ASSERT_NE(other.Create(), nullptr);
    ASSERT_TRUE(other.LoadState(saved));
    EXPECT_EQ(other.SaveState(), saved);
    EXPECT_EQ(other.Value(3), -35.0);
    EXPECT_EQ(other.Value(9), 0.0);
    EXPECT_EQ(other.valueRescans, 1);

    Set(3, -10);
    const std::vector<uint8_t> before = host.SaveState();
    // The stream reaches the state check whole (which contents it refuses is
    // the state blob's own test).
    std::vector<std::vector<uint8_t>> bad = {{}, {saved.begin(), saved.end() - 1}, saved};
    bad[2].push_back(0);
    for (const auto& b : bad)
    {
        EXPECT_FALSE(host.LoadState(b)) << b.size();
        EXPECT_EQ(host.SaveState(), before) << b.size();
    }
    // A read error after a whole state is no end of the stream.
    std::vector<uint8_t> whole = saved;
    clap::InputStream failing{&whole, [](const clap::InputStream* s, void* to, uint64_t n)
                              {
                                  auto* rest = static_cast<std::vector<uint8_t>*>(s->ctx);
                                  if (rest->empty() || n < rest->size())
                                      return (int64_t)-1;
                                  std::memcpy(to, rest->data(), rest->size());
                                  return (int64_t)std::exchange(*rest, {}).size();
                              }};
    EXPECT_FALSE(host.Ext<clap::PluginState>(clap::kExtState)->load(host.Plugin(), &failing));
}

TEST_F(ClapPlugin, BadHostCallsGetClearAnswers)
{
    const clap::Plugin* p = host.Plugin();
    const clap::PluginFactory* factory = host.Factory();
    EXPECT_EQ(factory->createPlugin(factory, nullptr, "korvaine.comp2"), nullptr);
    clap::ParamInfo info{};
    char text[4];
    double value = 0;
    EXPECT_FALSE(params->getInfo(p, kNumParams, &info));
    EXPECT_FALSE(params->getInfo(p, 0, nullptr));
    EXPECT_TRUE(std::isnan(host.Value(kNumParams)));
    EXPECT_FALSE(params->getValue(p, 0, nullptr));
    EXPECT_FALSE(params->valueToText(p, 3, -30.0, text, sizeof(text))); // no room
    EXPECT_FALSE(params->textToValue(p, 3, nullptr, &value));
    EXPECT_EQ(p->getExtension(p, nullptr), nullptr);
    EXPECT_EQ(p->getExtension(p, "clap.note-ports"), nullptr);
    EXPECT_FALSE(host.Ext<clap::PluginGui>(clap::kExtGui)->isApiSupported(p, "win32", false));

    // Values flushed while not processing: clamped to the range; NaN ignored.
    Set(4, 1e300);
    Set(4, NAN);
    EXPECT_EQ(host.Value(4), 64.0);

    // Main-thread calls from another thread are refused.
    bool saved = true, activated = true;
    std::thread(
        [&]
        {
            saved = !host.SaveState().empty();
            activated = p->activate(p, 44100, 1, 256);
        })
        .join();
    EXPECT_FALSE(saved);
    EXPECT_FALSE(activated);
    EXPECT_FALSE(p->activate(p, 0.0, 1, 256));              // no sample rate
    EXPECT_EQ(p->process(p, nullptr), clap::kProcessError); // not active

    // Active, without audio buffers: the events still apply; without a stereo
    // input the outputs are silenced.
    ASSERT_TRUE(p->activate(p, 44100.0, 1, 256));
    ClapEventList events;
    events.Add(5, 3, -25.0);
    EXPECT_EQ(host.Process(nullptr, nullptr, nullptr, nullptr, 64, &events),
              clap::kProcessContinue);
    EXPECT_EQ(host.Value(3), -25.0);
    std::vector<float> in(64, 0.5f), out(64, 1.f);
    host.Process(in.data(), nullptr, out.data(), out.data(), 64);
    EXPECT_EQ(out, std::vector<float>(64, 0.f));
}
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

class ClapAudio : public ClapPlugin
{
protected:
    void SetUp() override
    {
        ClapPlugin::SetUp();
        ASSERT_FALSE(HasFatalFailure());
        vst = std::make_unique<HostHarness>();
        ASSERT_NE(vst->Create(), nullptr);
        vst->Dispatch(effOpen);
        ClapEventList events;
        for (const Setting& s : kSettings)
        {
            events.Add(0, (clap::Id)s.index, s.plain);
            SetVst(s);
        }
        host.Flush(&events);
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
        ASSERT_TRUE(host.Plugin()->activate(host.Plugin(), kRate, 1, kBlock));
        ASSERT_TRUE(host.Plugin()->startProcessing(host.Plugin()));
        vst->Dispatch(effSetSampleRate, 0, 0, nullptr, kRate);
        vst->Dispatch(effSetBlockSize, 0, kBlock);
        vst->Dispatch(effMainsChanged, 0, 1);
        vst->Dispatch(effStartProcess);
    }

    // The VST effect scales its inputs in place: it gets copies.
    void ProcessVst(size_t pos, float* outL, float* outR, size_t n)
    {
        std::vector<float> l(&signal.left[pos], &signal.left[pos] + n),
            r(&signal.right[pos], &signal.right[pos] + n);
        float* in[2] = {l.data(), r.data()};
        float* out[2] = {outL, outR};
        vst->effect->processReplacing(vst->effect, in, out, (VstInt32)n);
    }

    // Renders `frames` of the signal from `pos` through both, in blocks of
    // the given lengths (cycled), each change at its frame (counted from
    // `pos`): an event inside the CLAP block, a split of the VST block.
    // False at the first differing sample.
    bool RenderBoth(size_t pos, size_t frames, const std::vector<uint32_t>& blocks,
                    const std::vector<std::pair<size_t, Setting>>& changes = {})
    {
        std::vector<float> cl(frames), cr(frames), vl(frames), vr(frames);
        auto change = changes.begin();
        for (size_t done = 0, k = 0; done < frames; ++k)
        {
            const uint32_t n = (uint32_t)std::min<size_t>(blocks[k % blocks.size()], frames - done);
            ClapEventList events;
            size_t split = done;
            for (; change != changes.end() && change->first < done + n; ++change)
            {
                events.Add((uint32_t)(change->first - done), change->second.index,
                           change->second.plain);
                ProcessVst(pos + split, &vl[split], &vr[split], change->first - split);
                SetVst(change->second);
                split = change->first;
            }
            const long before = AllocationCount();
            host.Process(&signal.left[pos + done], &signal.right[pos + done], &cl[done], &cr[done],
                         n, &events);
            allocations += AllocationCount() - before;
            ProcessVst(pos + split, &vl[split], &vr[split], done + n - split);
            done += n;
        }
        return cl == vl && cr == vr;
    }

    testsignal::Vocal signal{(int)kRate};
    long allocations = 0;             // made by process(); -1s under a sanitizer
    std::unique_ptr<HostHarness> vst; // made once the settings folder is set
};

TEST_F(ClapAudio, SameSamplesAsTheVstBuildWithEventsAndActivationsAllocatingNothing)
{
    // Odd and empty blocks; events at frames 3000, 3037, 3200 and 3255.
    Start();
    EXPECT_TRUE(RenderBoth(0, 12000, {1, 2, 31, 255, 0, 256, 7},
                           {{3000, {kParamRatio, 8}},
                            {3037, {kParamThreshold, -40}},
                            {3200, {kParamSideChain, 1}},
                            {3255, {kParamOutput, -12}}}));

    // Mains off and on switch "ON/OFF" as under a VST host; the host hears of both.
    host.Plugin()->deactivate(host.Plugin());
    vst->Dispatch(effMainsChanged, 0, 0);
    EXPECT_EQ(host.Value(kParamOnOff), 0.0);
    Start();
    EXPECT_EQ(host.Value(kParamOnOff), 1.0);
    EXPECT_EQ(host.valueRescans, 2);
    EXPECT_TRUE(RenderBoth(20000, 8192, {kBlock}));
    // Nothing allocated in process() (not counted under a sanitizer).
    EXPECT_TRUE(AllocationCount() < 0 || allocations == 0) << allocations;
}
} // namespace
