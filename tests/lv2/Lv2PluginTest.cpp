// The built DeEsser.lv2 bundle loaded through lilv as an LV2 host loads it.
#include "ADeEsserProgram.h"
#include "HostHarness.h"
#include "Lv2TestHost.h"
#include "ParamRange.h"
#include "TestFiles.h"
#include "TestSignal.h"

#include <lv2/atom/atom.h>
#include <lv2/presets/presets.h>
#include <lv2/state/state.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <dlfcn.h>
#include <cmath>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace
{
constexpr uint32_t kBlock = 256;

using Settings = std::map<std::string, float>; // port symbol -> display value

class Lv2Plugin : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_NE(nullptr, m_Host.Plugin()) << DEESSER_LV2_BUNDLE; }

    // Frees the node.
    static std::string Str(LilvNode* node)
    {
        const std::string s = node ? lilv_node_as_string(node) : "";
        lilv_node_free(node);
        return s;
    }

    // No user bank: both builds start from the factory bank.
    TempDir m_Config;
    ScopedEnv m_Env{"XDG_CONFIG_HOME", m_Config.path().c_str()};
    CLv2TestHost m_Host{DEESSER_LV2_BUNDLE, "urn:korvaine:comp2"};
    const testsignal::Vocal m_Vocal{44100};
};

// The state interface called directly, as a host does: one property.
struct Property
{
    std::vector<uint8_t> bytes;
    uint32_t key = 0, type = 0;

    static LV2_State_Status Store(LV2_State_Handle h, uint32_t key, const void* value, size_t size,
                                  uint32_t type, uint32_t)
    {
        auto* p = static_cast<Property*>(h);
        p->bytes.assign((const uint8_t*)value, (const uint8_t*)value + size);
        p->key = key;
        p->type = type;
        return LV2_STATE_SUCCESS;
    }
    static const void* Retrieve(LV2_State_Handle h, uint32_t key, size_t* size, uint32_t* type,
                                uint32_t* flags)
    {
        auto* p = static_cast<Property*>(h);
        *size = p->bytes.size();
        *type = p->type;
        *flags = 0;
        return key == p->key ? p->bytes.data() : nullptr;
    }
};

TEST_F(Lv2Plugin, DescriptionPortsAndOutputs)
{
    const LilvPlugin* p = m_Host.Plugin();
    EXPECT_EQ(Str(lilv_plugin_get_name(p)), "Comp2");
    EXPECT_EQ(Str(lilv_plugin_get_author_name(p)), "KORVAINE Co.,Ltd.");
    LilvNode* type = m_Host.Uri(LILV_NS_RDF "type");
    LilvNode* compressor = m_Host.Uri(LV2_CORE__CompressorPlugin);
    EXPECT_TRUE(lilv_world_ask(m_Host.World(), lilv_plugin_get_uri(p), type, compressor));
    lilv_node_free(compressor);
    lilv_node_free(type);
    EXPECT_EQ(lilv_plugin_get_latency_port_index(p), 18u);
    LilvNodes* required = lilv_plugin_get_required_features(p);
    EXPECT_EQ(lilv_nodes_size(required), 0u);
    lilv_nodes_free(required);
    // One plug-in in the library, and none without a sample rate.
    char* path = lilv_file_uri_parse(lilv_node_as_uri(lilv_plugin_get_library_uri(p)), nullptr);
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    auto entry = (const LV2_Descriptor* (*)(uint32_t))dlsym(library, "lv2_descriptor");
    EXPECT_TRUE(entry && entry(0) && !entry(1));
    dlclose(library);
    lilv_free(path);
    EXPECT_EQ(CLv2TestInstance(m_Host, 0.0).Raw(), nullptr);

    const char* expected[] = {"in_l",         "in_r",           "out_l",          "out_r",
                              "threshold",    "ratio",          "attack",         "release",
                              "low_freq",     "high_freq",      "output",         "input",
                              "power",        "side_chain",     "auto_threshold", "input_level",
                              "output_level", "gain_reduction", "latency"};
    ASSERT_EQ(lilv_plugin_get_num_ports(p), std::size(expected));
    float mins[19], maxs[19], defs[19];
    lilv_plugin_get_port_ranges_float(p, mins, maxs, defs);
    LilvNode* toggled = m_Host.Uri(LV2_CORE__toggled);
    LilvNode* input = m_Host.Uri(LV2_CORE__InputPort);
    for (uint32_t i = 0; i < std::size(expected); ++i)
    {
        const LilvPort* port = lilv_plugin_get_port_by_index(p, i);
        EXPECT_STREQ(lilv_node_as_string(lilv_port_get_symbol(p, port)), expected[i]);
        const int index = FindParamBySymbol(expected[i]);
        if (index < 0)
            continue;
        const ParamRange& r = GetParamRange(index);
        EXPECT_TRUE(lilv_port_is_a(p, port, input)) << r.symbol;
        EXPECT_EQ(mins[i], r.minPlain) << r.symbol;
        EXPECT_EQ(maxs[i], r.maxPlain) << r.symbol;
        EXPECT_EQ(defs[i], r.defaultPlain) << r.symbol;
        EXPECT_EQ(lilv_port_has_property(p, port, toggled), r.toggled) << r.symbol;
    }
    lilv_node_free(toggled);
    lilv_node_free(input);
}

TEST_F(Lv2Plugin, SameSamplesAsTheVstBuildWhenPortsChangeAndOutputsInDb)
{
    // Every port away from its default, the effect switched off at the start
    // (after mains on, which switches it on) and on again half-way with a
    // new threshold.
    const Settings first = {{"threshold", -24.f}, {"ratio", 8.f},         {"attack", 2.f},
                            {"release", 0.2f},    {"low_freq", 5000.f},   {"high_freq", 12000.f},
                            {"output", -3.f},     {"input", -2.f},        {"power", 0.f},
                            {"side_chain", 0.f},  {"auto_threshold", 0.f}};
    const Settings second = {{"power", 1.f}, {"threshold", -35.f}};
    CLv2TestInstance fx(m_Host, 44100.0);
    HostHarness vst;
    AEffect* e = vst.Create();
    ASSERT_NE(nullptr, e);
    auto set = [&](const Settings& s)
    {
        for (const auto& [symbol, value] : s)
        {
            EXPECT_TRUE(fx.Set(symbol, value)) << symbol;
            const int index = FindParamBySymbol(symbol.c_str());
            e->setParameter(e, index, PlainToNormalised(index, value));
        }
    };
    // The VST build as a host drives it: open, rate, block, the parameters,
    // mains on, start.
    vst.Start(44100.f, kBlock, false);
    set(first);
    vst.Dispatch(effMainsChanged, 0, 1);
    vst.Dispatch(effStartProcess);
    e->setParameter(e, kParamOnOff, 0.f);
    fx.Set("latency", 99.f);
    fx.Activate();

    bool same = true;
    float peak = 0.f; // of the last block's input
    for (size_t pos = 0; pos + kBlock <= m_Vocal.left.size(); pos += kBlock)
    {
        if (pos == 86 * kBlock)
            set(second);
        std::vector<float> in[2] = {{&m_Vocal.left[pos], &m_Vocal.left[pos] + kBlock},
                                    {&m_Vocal.right[pos], &m_Vocal.right[pos] + kBlock}};
        std::vector<float> lv2[2] = {in[0], in[1]}, out[2] = {in[0], in[1]};
        peak = 0.f;
        for (size_t i = 0; i < kBlock; ++i)
            peak = std::max({peak, std::fabs(in[0][i]), std::fabs(in[1][i])});
        fx.Run(in[0].data(), in[1].data(), lv2[0].data(), lv2[1].data(), kBlock);
        float* ins[2] = {in[0].data(), in[1].data()}; // scaled in place by the effect
        float* outs[2] = {out[0].data(), out[1].data()};
        e->processReplacing(e, ins, outs, kBlock);
        same = same && lv2[0] == out[0] && lv2[1] == out[1];
    }
    EXPECT_TRUE(same);
    // The outputs: latency 0; the input peak after the input gain (-2 dB at
    // 6 dB per doubling) and the compressor's gain, in dB.
    EXPECT_EQ(fx.Get("latency"), 0.f);
    EXPECT_NEAR(fx.Get("input_level"), 20 * std::log10(peak * std::exp2(-2.f / 6)), 0.01);
    EXPECT_LT(fx.Get("gain_reduction"), -1.f);
}

TEST_F(Lv2Plugin, PresetsStoreTheFactoryProgramsExactly)
{
    const std::string file = ReadBytes(DEESSER_LV2_BUNDLE "/DeEsserDef.fxb");
    ASSERT_EQ(file.size(), 160u + kBankChunkSize);
    std::vector<ADeEsserProgram> bank(kNumPrograms);
    std::memcpy(bank.data(), file.data() + 160, kBankChunkSize);
    int named = 0;
    for (const ADeEsserProgram& p : bank)
        named += std::string(p.name) != "Empty";

    LilvNode* presetClass = m_Host.Uri(LV2_PRESETS__Preset);
    LilvNode* label = m_Host.Uri(LILV_NS_RDFS "label");
    LilvNodes* presets = lilv_plugin_get_related(m_Host.Plugin(), presetClass);
    EXPECT_EQ((int)lilv_nodes_size(presets), named);
    EXPECT_GT(named, 10);
    LILV_FOREACH(nodes, it, presets)
    {
        const LilvNode* preset = lilv_nodes_get(presets, it);
        lilv_world_load_resource(m_Host.World(), preset);
        const std::string uri = lilv_node_as_uri(preset);
        const int slot = std::stoi(uri.substr(uri.rfind(':') + 1)) - 1;
        ASSERT_TRUE(slot >= 0 && slot < kNumPrograms) << uri;
        EXPECT_EQ(Str(lilv_world_get(m_Host.World(), preset, label, nullptr)), bank[slot].name);

        // Every port value stores exactly the factory program's value.
        LilvState* state = lilv_state_new_from_world(m_Host.World(), m_Host.MapFeature(), preset);
        ASSERT_NE(nullptr, state) << uri;
        std::map<int, float> stored;
        lilv_state_emit_port_values(
            state,
            [](const char* symbol, void* data, const void* value, uint32_t, uint32_t)
            {
                const int index = FindParamBySymbol(symbol);
                (*static_cast<std::map<int, float>*>(data))[index] =
                    PlainToNormalised(index, *static_cast<const float*>(value));
            },
            &stored);
        lilv_state_free(state);
        std::map<int, float> expected;
        for (int i = 0; i < kNumParams; ++i)
            expected[i] = bank[slot].values[i];
        EXPECT_EQ(stored, expected) << uri;
    }
    lilv_nodes_free(presets);
    lilv_node_free(label);
    lilv_node_free(presetClass);
}

TEST_F(Lv2Plugin, StateRoundTripsThroughLilvAndRefusesBadBanksAndHosts)
{
    TempDir dir;
    CLv2TestInstance a(m_Host, 44100.0), b(m_Host, 44100.0);
    a.Set("threshold", -37.f);
    a.Set("side_chain", 0.f);
    std::vector<float> l(kBlock, 0.f);
    for (CLv2TestInstance* fx : {&a, &b})
        fx->Activate();
    a.Run(l.data(), l.data(), l.data(), l.data(), kBlock);
    LilvState* saved = a.SaveState(dir.path());
    ASSERT_NE(nullptr, saved);
    b.RestoreState(saved);
    b.Run(l.data(), l.data(), l.data(), l.data(), kBlock);
    LilvState* again = b.SaveState(dir.path());
    EXPECT_TRUE(lilv_state_equals(saved, again)) << "bank and ports restored exactly";
    lilv_state_free(again);
    lilv_state_free(saved);

    auto* iface = static_cast<const LV2_State_Interface*>(
        lilv_instance_get_extension_data(b.Raw(), LV2_STATE__interface));
    ASSERT_NE(nullptr, iface);
    LV2_Handle handle = lilv_instance_get_handle(b.Raw());
    Property good;
    ASSERT_EQ(iface->save(handle, Property::Store, &good, 0, nullptr), LV2_STATE_SUCCESS);
    EXPECT_EQ(good.bytes.size(), (size_t)kBankChunkSize);
    EXPECT_EQ(good.type, m_Host.Map(LV2_ATOM__Chunk));
    EXPECT_STREQ(m_Host.Unmap(good.key), "urn:korvaine:comp2#bank");

    // A short bank, another type or another key leave the bank as it was.
    Property shortBank = good, wrongType = good, otherKey = good;
    shortBank.bytes.resize(kProgramChunkSize);
    wrongType.type = m_Host.Map(LV2_ATOM__String);
    otherKey.key = 12345;
    const LV2_State_Status refusals[] = {LV2_STATE_ERR_UNKNOWN, LV2_STATE_ERR_BAD_TYPE,
                                         LV2_STATE_ERR_NO_PROPERTY};
    Property* bad[] = {&shortBank, &wrongType, &otherKey};
    for (int k = 0; k < 3; ++k)
    {
        EXPECT_EQ(iface->restore(handle, Property::Retrieve, bad[k], 0, nullptr), refusals[k]);
        Property after;
        iface->save(handle, Property::Store, &after, 0, nullptr);
        EXPECT_EQ(after.bytes, good.bytes) << k;
    }

    // A restored bank whose program shows another threshold: the port stays
    // the truth and the next block stores its value again.
    Property other = good;
    int32_t current = 0; // the current program, kept in the first record
    std::memcpy(&current, good.bytes.data() + 68, sizeof(current));
    const float threshold = 0.55f;
    std::memcpy(other.bytes.data() + 72 * current + 4 * kParamThreshold, &threshold, 4);
    ASSERT_EQ(iface->restore(handle, Property::Retrieve, &other, 0, nullptr), LV2_STATE_SUCCESS);
    b.Run(l.data(), l.data(), l.data(), l.data(), kBlock);
    Property after;
    iface->save(handle, Property::Store, &after, 0, nullptr);
    EXPECT_EQ(after.bytes, good.bytes);

    // A host without urid:map gets no state.
    CLv2TestInstance bare(m_Host, 44100.0, false);
    ASSERT_NE(nullptr, bare.Raw());
    iface = static_cast<const LV2_State_Interface*>(
        lilv_instance_get_extension_data(bare.Raw(), LV2_STATE__interface));
    EXPECT_EQ(
        iface->save(lilv_instance_get_handle(bare.Raw()), Property::Store, &after, 0, nullptr),
        LV2_STATE_ERR_NO_FEATURE);
}
} // namespace
