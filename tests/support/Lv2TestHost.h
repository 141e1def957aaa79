// A small LV2 host for tests and benchmarks, through lilv only: instances of
// a stereo plug-in (in_l, in_r, out_l, out_r) with control ports by symbol.
#pragma once

#include <lilv/lilv.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

class CLv2TestHost
{
public:
    // bundleDir: the bundle's folder (with or without a trailing '/').
    explicit CLv2TestHost(const std::string& bundleDir, const char* pluginUri);
    ~CLv2TestHost() { lilv_world_free(m_World); }
    CLv2TestHost(const CLv2TestHost&) = delete;
    CLv2TestHost& operator=(const CLv2TestHost&) = delete;

    LilvWorld* World() const { return m_World; }
    const LilvPlugin* Plugin() const { return m_Plugin; } // null when not found
    LilvNode* Uri(const char* uri) const { return lilv_new_uri(m_World, uri); }

    LV2_URID Map(const char* uri);
    const char* Unmap(LV2_URID urid) const
    {
        return urid >= 1 && urid <= m_Uris.size() ? m_Uris[urid - 1].c_str() : nullptr;
    }
    LV2_URID_Map* MapFeature() { return &m_Map; }
    // urid:map, urid:unmap and options with the largest block; null-ended.
    const LV2_Feature* const* Features() const { return m_FeatureList; }

private:
    LilvWorld* m_World = nullptr;
    const LilvPlugin* m_Plugin = nullptr;
    std::vector<std::string> m_Uris; // index + 1 is the URID
    LV2_URID_Map m_Map;
    LV2_URID_Unmap m_Unmap;
    int32_t m_MaxBlock = 4096;
    LV2_Options_Option m_Options[2];
    LV2_Feature m_Features[3];
    const LV2_Feature* m_FeatureList[4] = {&m_Features[0], &m_Features[1], &m_Features[2], nullptr};
};

class CLv2TestInstance
{
public:
    // Null Raw() when the plug-in refuses; withFeatures false offers no feature.
    CLv2TestInstance(CLv2TestHost& host, double sampleRate, bool withFeatures = true);
    ~CLv2TestInstance();
    CLv2TestInstance(const CLv2TestInstance&) = delete;
    CLv2TestInstance& operator=(const CLv2TestInstance&) = delete;

    LilvInstance* Raw() const { return m_Instance; }
    // Control port value by symbol (inputs and outputs); false when unknown.
    bool Set(const std::string& symbol, float value);
    float Get(const std::string& symbol) const
    {
        return m_Symbols.count(symbol) ? m_Ports[m_Symbols.at(symbol)] : NAN;
    }

    void Activate()
    {
        lilv_instance_activate(m_Instance);
        m_Active = true;
    }
    // Stereo block; in and out may be the same buffers.
    void Run(const float* inL, const float* inR, float* outL, float* outR, uint32_t frames);

    // The state as lilv saves it (ports and properties); free with lilv_state_free.
    LilvState* SaveState(const std::string& dir);
    void RestoreState(const LilvState* state);

private:
    CLv2TestHost& m_Host;
    LilvInstance* m_Instance = nullptr;
    std::vector<float> m_Ports; // one value per port; audio ports unused
    std::map<std::string, uint32_t> m_Symbols;
    bool m_Active = false;
};
