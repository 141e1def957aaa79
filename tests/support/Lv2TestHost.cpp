#include "Lv2TestHost.h"

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>

CLv2TestHost::CLv2TestHost(const std::string& bundleDir, const char* pluginUri)
{
    m_World = lilv_world_new();
    lilv_world_load_plugin_classes(m_World);
    LilvNode* bundle = lilv_new_file_uri(
        m_World, nullptr, (bundleDir.back() == '/' ? bundleDir : bundleDir + "/").c_str());
    lilv_world_load_bundle(m_World, bundle);
    lilv_node_free(bundle);
    LilvNode* uri = Uri(pluginUri);
    m_Plugin = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(m_World), uri);
    lilv_node_free(uri);

    m_Map = {this, [](LV2_URID_Map_Handle h, const char* u)
             { return static_cast<CLv2TestHost*>(h)->Map(u); }};
    m_Unmap = {this, [](LV2_URID_Unmap_Handle h, LV2_URID id)
               { return static_cast<CLv2TestHost*>(h)->Unmap(id); }};
    m_Options[0] = {
        LV2_OPTIONS_INSTANCE, 0,          Map(LV2_BUF_SIZE__maxBlockLength), sizeof(int32_t),
        Map(LV2_ATOM__Int),   &m_MaxBlock};
    m_Options[1] = {LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr};
    m_Features[0] = {LV2_URID__map, &m_Map};
    m_Features[1] = {LV2_URID__unmap, &m_Unmap};
    m_Features[2] = {LV2_OPTIONS__options, m_Options};
}

LV2_URID CLv2TestHost::Map(const char* uri)
{
    for (size_t i = 0; i < m_Uris.size(); ++i)
        if (m_Uris[i] == uri)
            return (LV2_URID)(i + 1);
    m_Uris.push_back(uri);
    return (LV2_URID)m_Uris.size();
}

CLv2TestInstance::CLv2TestInstance(CLv2TestHost& host, double sampleRate, bool withFeatures)
    : m_Host(host)
{
    const LilvPlugin* plugin = host.Plugin();
    if (!plugin)
        return;
    const uint32_t ports = lilv_plugin_get_num_ports(plugin);
    m_Ports.assign(ports, NAN);
    lilv_plugin_get_port_ranges_float(plugin, nullptr, nullptr, m_Ports.data());
    for (uint32_t i = 0; i < ports; ++i)
        m_Symbols[lilv_node_as_string(
            lilv_port_get_symbol(plugin, lilv_plugin_get_port_by_index(plugin, i)))] = i;
    m_Instance =
        lilv_plugin_instantiate(plugin, sampleRate, withFeatures ? host.Features() : nullptr);
    for (uint32_t i = 0; m_Instance && i < ports; ++i)
        lilv_instance_connect_port(m_Instance, i, &m_Ports[i]);
}

CLv2TestInstance::~CLv2TestInstance()
{
    if (m_Instance && m_Active)
        lilv_instance_deactivate(m_Instance);
    if (m_Instance)
        lilv_instance_free(m_Instance);
}

bool CLv2TestInstance::Set(const std::string& symbol, float value)
{
    auto it = m_Symbols.find(symbol);
    if (it == m_Symbols.end())
        return false;
    m_Ports[it->second] = value;
    return true;
}

void CLv2TestInstance::Run(const float* inL, const float* inR, float* outL, float* outR,
                           uint32_t frames)
{
    const std::pair<const char*, const float*> audio[] = {
        {"in_l", inL}, {"in_r", inR}, {"out_l", outL}, {"out_r", outR}};
    for (const auto& [symbol, buffer] : audio)
        lilv_instance_connect_port(m_Instance, m_Symbols.at(symbol), const_cast<float*>(buffer));
    lilv_instance_run(m_Instance, frames);
}

LilvState* CLv2TestInstance::SaveState(const std::string& dir)
{
    auto getValue = [](const char* symbol, void* self, uint32_t* size,
                       uint32_t* type) -> const void*
    {
        auto* me = static_cast<CLv2TestInstance*>(self);
        *size = sizeof(float);
        *type = me->m_Host.Map(LV2_ATOM__Float);
        return &me->m_Ports[me->m_Symbols.at(symbol)];
    };
    return lilv_state_new_from_instance(m_Host.Plugin(), m_Instance, m_Host.MapFeature(), nullptr,
                                        dir.c_str(), dir.c_str(), dir.c_str(), getValue, this, 0,
                                        m_Host.Features());
}

void CLv2TestInstance::RestoreState(const LilvState* state)
{
    auto setValue = [](const char* symbol, void* self, const void* value, uint32_t size, uint32_t)
    {
        if (size == sizeof(float))
            static_cast<CLv2TestInstance*>(self)->Set(symbol, *static_cast<const float*>(value));
    };
    lilv_state_restore(state, m_Instance, setValue, this, 0, m_Host.Features());
}
