// The built DeEsser.clap through clap_entry alone: what the factory describes,
// the audio ports, the parameters and their texts, the state stream, and the
// checks CLAP validators make (defaults after init, stable texts, state
// save-load-save identity, main-thread calls refused elsewhere).
#include "ClapTestHost.h"
#include "ParamRange.h"
#include "TestFiles.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <thread>
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
        return params->valueToText(host.Plugin(), id, value, text, sizeof(text)) ? text
                                                                                 : "(refused)";
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

TEST_F(ClapPlugin, DescribesItselfAndItsStereoPorts)
{
    const clap::PluginFactory* factory = host.Factory();
    ASSERT_EQ(factory->getPluginCount(factory), 1u);
    const clap::PluginDescriptor* d = factory->getPluginDescriptor(factory, 0);
    EXPECT_STREQ(d->id, "korvaine.comp2");
    EXPECT_STREQ(d->name, "Comp2");
    EXPECT_STREQ(d->vendor, "KORVAINE Co.,Ltd.");
    EXPECT_STRNE(d->version, "");
    std::vector<std::string> features;
    for (const char* const* f = d->features; *f; ++f)
        features.push_back(*f);
    EXPECT_EQ(features, (std::vector<std::string>{"audio-effect", "stereo", "compressor"}));
    EXPECT_EQ(factory->createPlugin(factory, nullptr, "korvaine.comp2"), nullptr);

    auto ports = host.Ext<clap::PluginAudioPorts>(clap::kExtAudioPorts);
    for (bool input : {true, false})
    {
        ASSERT_EQ(ports->count(host.Plugin(), input), 1u);
        clap::AudioPortInfo info{};
        ASSERT_TRUE(ports->get(host.Plugin(), 0, input, &info));
        EXPECT_EQ(info.channelCount, 2u);
        EXPECT_STREQ(info.portType, "stereo");
        EXPECT_EQ(info.flags & clap::kAudioPortIsMain, clap::kAudioPortIsMain);
        EXPECT_EQ(info.inPlacePair, 0u); // paired with the other direction's port 0
        EXPECT_FALSE(ports->get(host.Plugin(), 1, input, &info));
    }
    auto latency = host.Ext<clap::PluginLatency>(clap::kExtLatency);
    EXPECT_EQ(latency->get(host.Plugin()), 0u);
}

TEST_F(ClapPlugin, ParametersCarryTheVstNamesAndDisplayRanges)
{
    ASSERT_EQ(params->count(host.Plugin()), (uint32_t)kNumParams);
    for (uint32_t i = 0; i < kNumParams; ++i)
    {
        const ParamRange& r = GetParamRange((int)i);
        clap::ParamInfo info{};
        ASSERT_TRUE(params->getInfo(host.Plugin(), i, &info));
        EXPECT_EQ(info.id, i);
        EXPECT_STREQ(info.name, GetParamName((int)i));
        EXPECT_EQ(info.minValue, r.minPlain) << i;
        EXPECT_EQ(info.maxValue, r.maxPlain) << i;
        EXPECT_EQ((info.flags & clap::kParamIsStepped) != 0, r.toggled) << i;
        EXPECT_EQ(info.flags & clap::kParamIsBypass, 0u) << i; // ON/OFF is on at 1
        // Validators: the value right after init is the declared default.
        EXPECT_EQ(host.Value(i), info.defaultValue) << i;
    }
    clap::ParamInfo info{};
    EXPECT_FALSE(params->getInfo(host.Plugin(), kNumParams, &info));
    EXPECT_TRUE(std::isnan(host.Value(kNumParams)));
}

TEST_F(ClapPlugin, TextsAreTheVstDisplayWithItsLabelAndParseBack)
{
    EXPECT_EQ(Text(3, -30), "-30.0 dB");
    EXPECT_EQ(Text(1, -0.04), "0.0 dB"); // gains never show "-0.0"
    EXPECT_EQ(Text(3, -0.04), "-0.0 dB");
    EXPECT_EQ(Text(4, 4), "4.0");
    EXPECT_EQ(Text(6, 0.5), "0.50 sec");
    EXPECT_EQ(Text(7, 5000), "5000.0 Hz");
    EXPECT_EQ(Text(0, 1), "ON");
    EXPECT_EQ(Text(10, 0), "OFF");
    EXPECT_EQ(Text(3, NAN), "(refused)");
    EXPECT_EQ(Text(11, 0), "(refused)");

    EXPECT_EQ(FromText(3, "-30.0 dB"), -30.0);
    EXPECT_EQ(FromText(3, " -30 "), -30.0);
    EXPECT_EQ(FromText(3, "-500"), -100.0); // within the range
    EXPECT_FLOAT_EQ(FromText(6, "0.5 s"), 0.5);
    EXPECT_EQ(FromText(9, "off"), 0.0);
    EXPECT_EQ(FromText(9, "ON"), 1.0);
    for (const char* bad : {"", "abc", "12 parsecs", "nan", "-30 dB dB"})
        EXPECT_TRUE(std::isnan(FromText(3, bad))) << bad;

    // Validators: value -> text -> value -> text is stable across each range.
    for (uint32_t i = 0; i < 11; ++i)
    {
        clap::ParamInfo info{};
        params->getInfo(host.Plugin(), i, &info);
        for (int k = 0; k <= 40; ++k)
        {
            const double v = info.minValue + (info.maxValue - info.minValue) * k / 40.0;
            const std::string text = Text(i, v);
            EXPECT_EQ(Text(i, FromText(i, text.c_str())), text) << i << " at " << v;
        }
    }
}

TEST_F(ClapPlugin, FlushAppliesHostValuesWhenNotProcessing)
{
    Set(3, -42.5);
    EXPECT_EQ(host.Value(3), -42.5);
    Set(4, 1e300); // clamped to the range
    EXPECT_EQ(host.Value(4), 64.0);
    Set(4, NAN); // ignored
    EXPECT_EQ(host.Value(4), 64.0);
    Set(9, 0);
    EXPECT_EQ(host.Value(9), 0.0);
}

TEST_F(ClapPlugin, StateRoundTripsAndBadStreamsLeaveTheEffectAlone)
{
    Set(3, -35);
    Set(9, 0);
    const std::vector<uint8_t> saved = host.SaveState();
    ASSERT_EQ(saved.size(), 16u + 2304u);

    // Another instance takes it and saves the same bytes.
    ClapTestHost other(DEESSER_CLAP_PATH);
    ASSERT_NE(other.Create(), nullptr);
    ASSERT_TRUE(other.LoadState(saved));
    EXPECT_EQ(other.SaveState(), saved);
    for (clap::Id i = 0; i < 11; ++i)
        EXPECT_EQ(other.Value(i), host.Value(i)) << i;
    EXPECT_GE(other.valueRescans, 1);

    Set(3, -10);
    const std::vector<uint8_t> before = host.SaveState();
    // What the stream hands over reaches the state check whole (which
    // streams it refuses is the state blob's own test).
    std::vector<std::vector<uint8_t>> bad = {{}, {saved.begin(), saved.end() - 1}, saved, saved};
    bad[2][0] ^= 0x20;   // foreign magic
    bad[3].push_back(0); // one byte too many
    for (size_t k = 0; k < bad.size(); ++k)
    {
        EXPECT_FALSE(host.LoadState(bad[k])) << k;
        EXPECT_EQ(host.SaveState(), before) << k;
    }
    ASSERT_TRUE(host.LoadState(saved));
    EXPECT_EQ(host.Value(3), -35.0);
}

TEST_F(ClapPlugin, MainThreadCallsFromAnotherThreadAreRefused)
{
    bool saved = true, activated = true;
    std::thread(
        [&]
        {
            saved = !host.SaveState().empty();
            activated = host.Plugin()->activate(host.Plugin(), 44100, 1, 256);
        })
        .join();
    EXPECT_FALSE(saved);
    EXPECT_FALSE(activated);
    EXPECT_FALSE(host.SaveState().empty());
}
TEST_F(ClapPlugin, BadHostCallsGetClearAnswers)
{
    const clap::Plugin* p = host.Plugin();
    char text[4];
    double value = 0;
    EXPECT_FALSE(params->getInfo(p, 0, nullptr));
    EXPECT_FALSE(params->getValue(p, 0, nullptr));
    EXPECT_FALSE(params->valueToText(p, 3, -30.0, text, sizeof(text))); // no room
    EXPECT_FALSE(params->textToValue(p, 3, nullptr, &value));
    EXPECT_EQ(p->getExtension(p, nullptr), nullptr);
    EXPECT_EQ(p->getExtension(p, "clap.note-ports"), nullptr);
    EXPECT_FALSE(p->activate(p, 0.0, 1, 256));              // no sample rate
    EXPECT_EQ(p->process(p, nullptr), clap::kProcessError); // not active

    // Active, without audio buffers: events still apply, nothing is touched.
    ASSERT_TRUE(p->activate(p, 44100.0, 1, 256));
    ClapEventList events;
    events.Add(5, 3, -25.0);
    clap::Process none{};
    none.framesCount = 64;
    none.inEvents = events.Get();
    EXPECT_EQ(p->process(p, &none), clap::kProcessContinue);
    EXPECT_EQ(host.Value(3), -25.0);
    p->deactivate(p);

    // A stream that fails part-way.
    clap::InputStream failing{
        nullptr, [](const clap::InputStream*, void*, uint64_t) -> int64_t { return -1; }};
    EXPECT_FALSE(host.Ext<clap::PluginState>(clap::kExtState)->load(p, &failing));
}
} // namespace
