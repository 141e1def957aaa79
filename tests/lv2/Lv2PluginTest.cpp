// The built DeEsser.lv2 bundle loaded through lilv as an LV2 host loads it:
// description, the same samples as the VST 2.4 build, state and presets.
#include "ADeEsserProgram.h"
#include "TestSignal.h"
#include "HostHarness.h"
#include "Lv2TestHost.h"
#include "ParamRange.h"
#include "TestFiles.h"

#include <lv2/atom/atom.h>
#include <lv2/presets/presets.h>
#include <lv2/state/state.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace
{
constexpr const char* kUri = "urn:korvaine:comp2";
constexpr uint32_t kBlock = 256;

class Lv2Plugin : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_NE(nullptr, m_Host.Plugin()) << "bundle " DEESSER_LV2_BUNDLE; }

    // No user bank: both builds start from the factory bank.
    TempDir m_Config;
    ScopedEnv m_Env{"XDG_CONFIG_HOME", m_Config.path().c_str()};
    CLv2TestHost m_Host{DEESSER_LV2_BUNDLE, kUri};

    std::string NodeString(const LilvNode* node) { return node ? lilv_node_as_string(node) : ""; }
};

using Settings = std::map<std::string, float>; // port symbol -> display value

struct Rendered
{
    std::vector<float> l, r;
    bool operator==(const Rendered& o) const { return l == o.l && r == o.r; }
};

const testsignal::Vocal& Vocal()
{
    static testsignal::Vocal s(44100); // one second
    return s;
}

Rendered RenderLv2(CLv2TestHost& host, const Settings& settings)
{
    CLv2TestInstance fx(host, 44100.0);
    EXPECT_NE(nullptr, fx.Raw());
    for (const auto& [symbol, value] : settings)
        EXPECT_TRUE(fx.Set(symbol, value)) << symbol;
    fx.Activate();
    Rendered out;
    fx.Render(Vocal().left, Vocal().right, out.l, out.r, kBlock);
    return out;
}

// The VST build as a host drives it: open, rate, block, every parameter
// set, mains on, start; `program` chosen first when not negative.
Rendered RenderVst(const Settings& settings, int program = -1)
{
    HostHarness vst;
    AEffect* e = vst.Create();
    EXPECT_NE(nullptr, e);
    vst.Dispatch(effOpen);
    vst.Dispatch(effSetSampleRate, 0, 0, nullptr, 44100.f);
    vst.Dispatch(effSetBlockSize, 0, kBlock);
    if (program >= 0)
        vst.Dispatch(effSetProgram, 0, program);
    for (int i = 0; i < kNumParams; ++i)
    {
        const ParamRange& r = GetParamRange(i);
        auto it = settings.find(r.symbol);
        if (program < 0 || it != settings.end())
            e->setParameter(
                e, i, PlainToNormalised(i, it != settings.end() ? it->second : r.defaultPlain));
    }
    vst.Dispatch(effMainsChanged, 0, 1);
    vst.Dispatch(effStartProcess);
    auto power = settings.find("power");
    if (power != settings.end() && !(power->second > 0.f))
        e->setParameter(e, kParamOnOff, 0.f); // mains on switched it on
    Rendered out;
    out.l.resize(Vocal().left.size());
    out.r.resize(Vocal().right.size());
    std::vector<float> inL(kBlock), inR(kBlock);
    for (size_t pos = 0; pos < out.l.size(); pos += kBlock)
    {
        const size_t n = std::min<size_t>(kBlock, out.l.size() - pos);
        std::memcpy(inL.data(), Vocal().left.data() + pos, n * sizeof(float));
        std::memcpy(inR.data(), Vocal().right.data() + pos, n * sizeof(float));
        float* in[2] = {inL.data(), inR.data()};
        float* o[2] = {out.l.data() + pos, out.r.data() + pos};
        e->processReplacing(e, in, o, (VstInt32)n);
    }
    vst.Dispatch(effMainsChanged, 0, 0);
    return out;
}

TEST_F(Lv2Plugin, DescriptionPortsRangesAndDefaults)
{
    const LilvPlugin* p = m_Host.Plugin();
    LilvNode* name = lilv_plugin_get_name(p);
    EXPECT_EQ(NodeString(name), "Comp2");
    lilv_node_free(name);
    LilvNode* author = lilv_plugin_get_author_name(p);
    EXPECT_EQ(NodeString(author), "KORVAINE Co.,Ltd.");
    lilv_node_free(author);
    LilvNode* rdfType = m_Host.Uri(LILV_NS_RDF "type");
    LilvNode* compressor = m_Host.Uri(LV2_CORE__CompressorPlugin);
    EXPECT_TRUE(lilv_world_ask(m_Host.World(), lilv_plugin_get_uri(p), rdfType, compressor));
    lilv_node_free(compressor);
    lilv_node_free(rdfType);
    EXPECT_TRUE(lilv_plugin_has_latency(p));
    EXPECT_EQ(lilv_plugin_get_latency_port_index(p), 18u);
    // Nothing is required of the host.
    LilvNodes* required = lilv_plugin_get_required_features(p);
    EXPECT_EQ(lilv_nodes_size(required), 0u);
    lilv_nodes_free(required);

    const char* expected[] = {"in_l",         "in_r",           "out_l",          "out_r",
                              "threshold",    "ratio",          "attack",         "release",
                              "low_freq",     "high_freq",      "output",         "input",
                              "power",        "side_chain",     "auto_threshold", "input_level",
                              "output_level", "gain_reduction", "latency"};
    ASSERT_EQ(lilv_plugin_get_num_ports(p), std::size(expected));
    std::vector<float> mins(19), maxs(19), defs(19);
    lilv_plugin_get_port_ranges_float(p, mins.data(), maxs.data(), defs.data());
    LilvNode* toggled = m_Host.Uri(LV2_CORE__toggled);
    LilvNode* control = m_Host.Uri(LV2_CORE__ControlPort);
    LilvNode* input = m_Host.Uri(LV2_CORE__InputPort);
    for (uint32_t i = 0; i < std::size(expected); ++i)
    {
        const LilvPort* port = lilv_plugin_get_port_by_index(p, i);
        EXPECT_EQ(NodeString(lilv_port_get_symbol(p, port)), expected[i]);
        const int index = FindParamBySymbol(expected[i]);
        if (index < 0)
            continue;
        const ParamRange& r = GetParamRange(index);
        EXPECT_TRUE(lilv_port_is_a(p, port, control) && lilv_port_is_a(p, port, input)) << r.symbol;
        EXPECT_EQ(mins[i], r.minPlain) << r.symbol;
        EXPECT_EQ(maxs[i], r.maxPlain) << r.symbol;
        EXPECT_EQ(defs[i], r.defaultPlain) << r.symbol;
        EXPECT_EQ(lilv_port_has_property(p, port, toggled), r.toggled) << r.symbol;
    }
    lilv_node_free(toggled);
    lilv_node_free(control);
    lilv_node_free(input);

    // The outputs after a block: latency 0, meters in dB.
    CLv2TestInstance fx(m_Host, 48000.0);
    fx.Set("latency", 99.f);
    fx.Set("threshold", -40.f);
    fx.Set("ratio", 8.f);
    fx.Activate();
    std::vector<float> l(Vocal().left.begin(), Vocal().left.begin() + 4410),
        r(Vocal().right.begin(), Vocal().right.begin() + 4410);
    fx.Run(l.data(), r.data(), l.data(), r.data(), (uint32_t)l.size()); // in place
    EXPECT_EQ(fx.Get("latency"), 0.f);
    EXPECT_GT(fx.Get("input_level"), -20.f);
    EXPECT_LE(fx.Get("input_level"), 0.f);
    EXPECT_LT(fx.Get("gain_reduction"), -1.f);
}

TEST_F(Lv2Plugin, SameSamplesAsTheVstBuildInBothModes)
{
    // Every port set at least once, both detection modes, the switch off.
    const Settings cases[] = {
        {{"threshold", -24.f},
         {"ratio", 8.f},
         {"attack", 2.f},
         {"release", 0.2f},
         {"low_freq", 5000.f},
         {"high_freq", 12000.f},
         {"output", -3.f},
         {"input", -2.f},
         {"auto_threshold", 0.f}},
        {{"side_chain", 0.f},
         {"threshold", -20.f},
         {"ratio", 3.f},
         {"low_freq", 6000.f},
         {"high_freq", 9000.f},
         {"output", 4.f}},
        {{"power", 0.f}, {"input", -6.f}, {"threshold", -40.f}, {"ratio", 8.f}},
    };
    for (const Settings& s : cases)
    {
        const Rendered lv2 = RenderLv2(m_Host, s);
        const Rendered vst = RenderVst(s);
        EXPECT_TRUE(lv2 == vst) << "setting " << &s - cases;
        EXPECT_FALSE(lv2.l == Vocal().left) << "setting " << &s - cases << " did nothing";
    }
    // Out of range: clamped to the range's ends. Not a number: ignored, the
    // attack of the program the instance opened with (program 0) stays.
    Settings reference;
    for (int i = 0; i < kNumParams; ++i)
        reference[GetParamRange(i).symbol] = GetParamRange(i).defaultPlain;
    reference.erase("attack");
    reference["threshold"] = -100.f;
    reference["ratio"] = 64.f;
    EXPECT_TRUE(RenderLv2(m_Host, {{"threshold", -150.f}, {"ratio", 100.f}, {"attack", NAN}}) ==
                RenderVst(reference, 0));
}

TEST_F(Lv2Plugin, PresetsStoreTheFactoryProgramsExactly)
{
    std::vector<ADeEsserProgram> bank(kNumPrograms);
    const std::string file = ReadBytes(DEESSER_LV2_BUNDLE "/DeEsserDef.fxb");
    ASSERT_EQ(file.size(), 160u + kBankChunkSize);
    std::memcpy(bank.data(), file.data() + 160, kBankChunkSize);

    LilvNode* presetClass = m_Host.Uri(LV2_PRESETS__Preset);
    LilvNode* label = m_Host.Uri(LILV_NS_RDFS "label");
    LilvNodes* presets = lilv_plugin_get_related(m_Host.Plugin(), presetClass);
    int named = 0;
    for (const ADeEsserProgram& p : bank)
        named += std::string(p.name) != "Empty";
    EXPECT_EQ((int)lilv_nodes_size(presets), named);
    EXPECT_GT(named, 10);

    LILV_FOREACH(nodes, it, presets)
    {
        const LilvNode* preset = lilv_nodes_get(presets, it);
        lilv_world_load_resource(m_Host.World(), preset);
        const std::string uri = lilv_node_as_uri(preset);
        const int slot = std::stoi(uri.substr(uri.rfind(':') + 1)) - 1;
        ASSERT_TRUE(slot >= 0 && slot < kNumPrograms) << uri;
        LilvNodes* labels = lilv_world_find_nodes(m_Host.World(), preset, label, nullptr);
        EXPECT_EQ(NodeString(lilv_nodes_get_first(labels)), bank[slot].name);
        lilv_nodes_free(labels);

        LilvState* state = lilv_state_new_from_world(m_Host.World(), m_Host.MapFeature(), preset);
        ASSERT_NE(nullptr, state) << uri;
        Settings settings;
        lilv_state_emit_port_values(
            state,
            [](const char* symbol, void* data, const void* value, uint32_t size, uint32_t)
            {
                if (size == sizeof(float))
                    (*static_cast<Settings*>(data))[symbol] = *static_cast<const float*>(value);
            },
            &settings);
        EXPECT_EQ(settings.size(), (size_t)kNumParams) << uri;
        // Every value stores exactly the factory program's.
        for (const auto& [symbol, value] : settings)
        {
            const int index = FindParamBySymbol(symbol.c_str());
            ASSERT_GE(index, 0) << symbol;
            EXPECT_EQ(PlainToNormalised(index, value), bank[slot].values[index])
                << uri << " " << symbol;
        }
        lilv_state_free(state);
    }
    lilv_nodes_free(presets);
    lilv_node_free(label);
    lilv_node_free(presetClass);
}

// The state interface called directly, as a host does.
struct StoredProperty
{
    std::vector<uint8_t> bytes;
    uint32_t key = 0, type = 0, flags = 0;
};

LV2_State_Status Store(LV2_State_Handle h, uint32_t key, const void* value, size_t size,
                       uint32_t type, uint32_t flags)
{
    auto* p = static_cast<StoredProperty*>(h);
    p->key = key;
    p->type = type;
    p->flags = flags;
    p->bytes.assign(static_cast<const uint8_t*>(value), static_cast<const uint8_t*>(value) + size);
    return LV2_STATE_SUCCESS;
}

const void* Retrieve(LV2_State_Handle h, uint32_t key, size_t* size, uint32_t* type,
                     uint32_t* flags)
{
    auto* p = static_cast<StoredProperty*>(h);
    if (key != p->key)
        return nullptr;
    *size = p->bytes.size();
    *type = p->type;
    *flags = p->flags;
    return p->bytes.data();
}

TEST_F(Lv2Plugin, StateRoundTripsThroughLilvAndRefusesDamagedBanks)
{
    TempDir dir;
    CLv2TestInstance a(m_Host, 44100.0);
    a.Set("threshold", -37.f);
    a.Set("side_chain", 0.f);
    a.Set("ratio", 5.f);
    a.Activate();
    Rendered warm;
    a.Render(Vocal().left, Vocal().right, warm.l, warm.r, kBlock);
    LilvState* saved = a.SaveState(dir.path());
    ASSERT_NE(nullptr, saved);
    EXPECT_EQ(lilv_state_get_num_properties(saved), 1u);
    ASSERT_EQ(0, lilv_state_save(m_Host.World(), m_Host.MapFeature(), m_Host.UnmapFeature(), saved,
                                 nullptr, dir.path().c_str(), "state.ttl"));
    LilvState* loaded = lilv_state_new_from_file(m_Host.World(), m_Host.MapFeature(), nullptr,
                                                 (dir / "state.ttl").c_str());
    ASSERT_NE(nullptr, loaded);

    CLv2TestInstance b(m_Host, 44100.0);
    b.Activate();
    b.RestoreState(loaded);
    EXPECT_EQ(b.Get("threshold"), -37.f);
    Rendered fromB, fromFresh;
    b.Render(Vocal().left, Vocal().right, fromB.l, fromB.r, kBlock);
    LilvState* again = b.SaveState(dir.path());
    EXPECT_TRUE(lilv_state_equals(saved, again)) << "bank and ports restored exactly";
    EXPECT_TRUE(fromB ==
                RenderLv2(m_Host, {{"threshold", -37.f}, {"side_chain", 0.f}, {"ratio", 5.f}}));
    lilv_state_free(again);
    lilv_state_free(loaded);
    lilv_state_free(saved);

    // A short or wrongly typed bank leaves the instance's bank as it was (the
    // other refusals are the wrapper's, tested there).
    auto* iface = static_cast<const LV2_State_Interface*>(
        lilv_instance_get_extension_data(b.Raw(), LV2_STATE__interface));
    ASSERT_NE(nullptr, iface);
    LV2_Handle handle = lilv_instance_get_handle(b.Raw());
    StoredProperty good;
    ASSERT_EQ(iface->save(handle, Store, &good, 0, nullptr), LV2_STATE_SUCCESS);
    EXPECT_EQ(good.bytes.size(), (size_t)kBankChunkSize);
    EXPECT_EQ(good.type, m_Host.Map(LV2_ATOM__Chunk));
    EXPECT_STREQ(m_Host.Unmap(good.key), "urn:korvaine:comp2#bank");

    StoredProperty shortBank = good, wrongType = good;
    shortBank.bytes.resize(kProgramChunkSize);
    wrongType.type = m_Host.Map(LV2_ATOM__String);
    for (StoredProperty* bad : {&shortBank, &wrongType})
    {
        EXPECT_NE(iface->restore(handle, Retrieve, bad, 0, nullptr), LV2_STATE_SUCCESS);
        StoredProperty after;
        iface->save(handle, Store, &after, 0, nullptr);
        EXPECT_EQ(after.bytes, good.bytes);
    }
    StoredProperty none;
    none.key = 12345;
    EXPECT_EQ(iface->restore(handle, Retrieve, &none, 0, nullptr), LV2_STATE_ERR_NO_PROPERTY);
}

TEST_F(Lv2Plugin, LoadsWithoutAnyHostFeature)
{
    CLv2TestInstance bare(m_Host, 44100.0, false);
    ASSERT_NE(nullptr, bare.Raw());
    bare.Activate();
    std::vector<float> l(Vocal().left.begin(), Vocal().left.begin() + 8192), out(8192);
    bare.Run(l.data(), l.data(), out.data(), out.data(), 8192); // more than its own block
    EXPECT_NE(out, std::vector<float>(8192, 0.f));
    auto* iface = static_cast<const LV2_State_Interface*>(
        lilv_instance_get_extension_data(bare.Raw(), LV2_STATE__interface));
    StoredProperty p;
    EXPECT_EQ(iface->save(lilv_instance_get_handle(bare.Raw()), Store, &p, 0, nullptr),
              LV2_STATE_ERR_NO_FEATURE);
}
} // namespace
