// The CLAP module's one export, clap_entry, and its plug-in factory, which
// makes DeEsser instances ("korvaine.comp2").
#include "CClapDeEsser.h"

#include <cstring>
#include <new>
#include <string>

namespace
{
// The folder of the .clap file, where the factory bank lies; set by init.
std::string g_BundleFolder;
int g_InitCount = 0;

bool EntryInit(const char* pluginPath)
{
    if (g_InitCount++ == 0)
    {
        const char* slash = pluginPath ? std::strrchr(pluginPath, '/') : nullptr;
        g_BundleFolder = slash ? std::string(pluginPath, (size_t)(slash - pluginPath + 1)) : "";
    }
    return true;
}

void EntryDeinit()
{
    if (g_InitCount > 0)
        --g_InitCount;
}

const clap::PluginFactory kFactory{
    [](const clap::PluginFactory*) -> uint32_t { return 1; },
    [](const clap::PluginFactory*, uint32_t index) -> const clap::PluginDescriptor*
    { return index == 0 ? &CClapDeEsser::Descriptor() : nullptr; },
    [](const clap::PluginFactory*, const clap::Host* host,
       const char* pluginId) -> const clap::Plugin*
    {
        if (g_InitCount == 0 || !host || !host->getExtension ||
            !clap::IsCompatible(host->clapVersion) || !pluginId ||
            std::strcmp(pluginId, CClapDeEsser::Descriptor().id) != 0)
            return nullptr;
        auto* plugin = new (std::nothrow) CClapDeEsser(host, g_BundleFolder);
        return plugin ? plugin->Plugin() : nullptr;
    }};

const void* GetFactory(const char* id)
{
    return id && std::strcmp(id, clap::kPluginFactoryId) == 0 ? &kFactory : nullptr;
}
} // namespace

extern "C" __attribute__((visibility("default")))
const clap::PluginEntry clap_entry{clap::kVersion, EntryInit, EntryDeinit, GetFactory};
