#include "Lv2TestHost.h"

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>

#include <cmath>
#include <cstring>

CLv2TestHost::CLv2TestHost(const std::string& bundleDir, const char* pluginUri)
{
    m_World = lilv_world_new();
    lilv_world_load_plugin_classes(m_World);
    std::string dir = bundleDir;
    if (dir.empty() || dir.back() != '/')
        dir += '/';
    LilvNode* bundle = lilv_new_file_uri(m_World, nullptr, dir.c_str());
    lilv_world_load_bundle(m_World, bundle);
    lilv_node_free(bundle);
    LilvNode* uri = lilv_new_uri(m_World, pluginUri);
    m_Plugin = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(m_World), uri);
    lilv_node_free(uri);

    m_Map.handle = this;
    m_Map.map = [](LV2_URID_Map_Handle h, const char* u)
    { return static_cast<CLv2TestHost*>(h)->Map(u); };
    m_Unmap.handle = this;
    m_Unmap.unmap = [](LV2_URID_Unmap_Handle h, LV2_URID id)
    { return static_cast<CLv2TestHost*>(h)->Unmap(id); };

    m_Options.push_back({LV2_OPTIONS_INSTANCE, 0, Map(LV2_BUF_SIZE__maxBlockLength),
                         sizeof(int32_t), Map(LV2_ATOM__Int), &m_MaxBlock});
    m_Options.push_back({LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr});
    m_Features = {{LV2_URID__map, &m_Map},
                  {LV2_URID__unmap, &m_Unmap},
                  {LV2_OPTIONS__options, m_Options.data()}};
    for (const LV2_Feature& f : m_Features)
        m_FeatureList.push_back(&f);
    m_FeatureList.push_back(nullptr);
}

CLv2TestHost::~CLv2TestHost()
{
    lilv_world_free(m_World);
}

LV2_URID CLv2TestHost::Map(const char* uri)
{
    for (size_t i = 0; i < m_Uris.size(); ++i)
        if (m_Uris[i] == uri)
            return (LV2_URID)(i + 1);
    m_Uris.push_back(uri);
    return (LV2_URID)m_Uris.size();
}

const char* CLv2TestHost::Unmap(LV2_URID urid) const
{
    return urid >= 1 && urid <= m_Uris.size() ? m_Uris[urid - 1].c_str() : nullptr;
}

CLv2TestInstance::CLv2TestInstance(CLv2TestHost& host, double sampleRate, bool withFeatures)
    : m_Host(host)
{
    const LilvPlugin* plugin = host.Plugin();
    if (!plugin)
        return;
    const uint32_t ports = lilv_plugin_get_num_ports(plugin);
    m_Controls.assign(ports, 0.f);
    std::vector<float> defaults(ports, NAN);
    lilv_plugin_get_port_ranges_float(plugin, nullptr, nullptr, defaults.data());
    LilvNode* audio = host.Uri(LV2_CORE__AudioPort);
    LilvNode* input = host.Uri(LV2_CORE__InputPort);
    for (uint32_t i = 0; i < ports; ++i)
    {
        const LilvPort* port = lilv_plugin_get_port_by_index(plugin, i);
        m_Symbols[lilv_node_as_string(lilv_port_get_symbol(plugin, port))] = i;
        if (lilv_port_is_a(plugin, port, audio))
            (lilv_port_is_a(plugin, port, input) ? m_AudioIn : m_AudioOut).push_back(i);
        else if (!std::isnan(defaults[i]))
            m_Controls[i] = defaults[i];
    }
    lilv_node_free(audio);
    lilv_node_free(input);

    m_Instance =
        lilv_plugin_instantiate(plugin, sampleRate, withFeatures ? host.Features() : nullptr);
    if (!m_Instance)
        return;
    for (uint32_t i = 0; i < ports; ++i)
        lilv_instance_connect_port(m_Instance, i, &m_Controls[i]);
}

CLv2TestInstance::~CLv2TestInstance()
{
    if (!m_Instance)
        return;
    Deactivate();
    lilv_instance_free(m_Instance);
}

uint32_t CLv2TestInstance::PortIndex(const std::string& symbol) const
{
    auto it = m_Symbols.find(symbol);
    return it == m_Symbols.end() ? UINT32_MAX : it->second;
}

bool CLv2TestInstance::Set(const std::string& symbol, float value)
{
    const uint32_t i = PortIndex(symbol);
    if (i >= m_Controls.size())
        return false;
    m_Controls[i] = value;
    return true;
}

float CLv2TestInstance::Get(const std::string& symbol) const
{
    const uint32_t i = PortIndex(symbol);
    return i < m_Controls.size() ? m_Controls[i] : NAN;
}

void CLv2TestInstance::Activate()
{
    if (m_Instance && !m_Active)
        lilv_instance_activate(m_Instance);
    m_Active = true;
}

void CLv2TestInstance::Deactivate()
{
    if (m_Instance && m_Active)
        lilv_instance_deactivate(m_Instance);
    m_Active = false;
}

void CLv2TestInstance::Run(const float* inL, const float* inR, float* outL, float* outR,
                           uint32_t frames)
{
    const float* in[2] = {inL, inR};
    float* out[2] = {outL, outR};
    for (size_t c = 0; c < m_AudioIn.size() && c < 2; ++c)
        lilv_instance_connect_port(m_Instance, m_AudioIn[c], const_cast<float*>(in[c]));
    for (size_t c = 0; c < m_AudioOut.size() && c < 2; ++c)
        lilv_instance_connect_port(m_Instance, m_AudioOut[c], out[c]);
    lilv_instance_run(m_Instance, frames);
}

void CLv2TestInstance::Render(const std::vector<float>& inL, const std::vector<float>& inR,
                              std::vector<float>& outL, std::vector<float>& outR, uint32_t block)
{
    outL.assign(inL.size(), 0.f);
    outR.assign(inR.size(), 0.f);
    for (size_t pos = 0; pos < inL.size(); pos += block)
    {
        const uint32_t n = (uint32_t)std::min<size_t>(block, inL.size() - pos);
        Run(inL.data() + pos, inR.data() + pos, outL.data() + pos, outR.data() + pos, n);
    }
}

LilvState* CLv2TestInstance::SaveState(const std::string& dir)
{
    auto getValue = [](const char* symbol, void* self, uint32_t* size,
                       uint32_t* type) -> const void*
    {
        auto* me = static_cast<CLv2TestInstance*>(self);
        const uint32_t i = me->PortIndex(symbol);
        *size = sizeof(float);
        *type = me->m_Host.Map(LV2_ATOM__Float);
        return i < me->m_Controls.size() ? &me->m_Controls[i] : nullptr;
    };
    return lilv_state_new_from_instance(m_Host.Plugin(), m_Instance, m_Host.MapFeature(), nullptr,
                                        dir.c_str(), dir.c_str(), dir.c_str(), getValue, this, 0,
                                        m_Host.Features());
}

void CLv2TestInstance::RestoreState(const LilvState* state)
{
    auto setValue =
        [](const char* symbol, void* self, const void* value, uint32_t size, uint32_t type)
    {
        auto* me = static_cast<CLv2TestInstance*>(self);
        if (size == sizeof(float) && type == me->m_Host.Map(LV2_ATOM__Float))
            me->Set(symbol, *static_cast<const float*>(value));
    };
    lilv_state_restore(state, m_Instance, setValue, this, 0, m_Host.Features());
}
