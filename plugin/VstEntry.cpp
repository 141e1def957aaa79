// The plug-in's entry module: the exported VSTPluginMain (and main, which
// older Linux hosts look up), effect creation, and bitmap resource lookup.
#include "ADeEsser.h"
#include "VstEntry.h"

#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <new>
#include <string>
#include <sys/stat.h>

AudioEffect* createEffectInstance(audioMasterCallback audioMaster)
{
    return new ADeEsser(audioMaster);
}

// Folder of this shared object, ending in "/"; empty when unknown.
static std::string pluginDirectory()
{
    Dl_info info;
    if (!dladdr((void*)&createEffectInstance, &info) || !info.dli_fname)
        return std::string();
    std::string path = info.dli_fname;
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

char* getResourcePath(int id, const char* /*bundleIdentifier*/)
{
    char name[32];
    std::snprintf(name, sizeof(name), "bmp%05d.png", id);
    std::string path = pluginDirectory() + "resources/" + name;
    struct stat st;
    if (stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
        return nullptr;
    return strdup(path.c_str());
}

extern "C" __attribute__((visibility("default"))) AEffect*
VSTPluginMain(audioMasterCallback audioMaster)
{
    // A host that does not answer the version query is not a VST host.
    if (!audioMaster || audioMaster(nullptr, audioMasterVersion, 0, 0, nullptr, 0.f) == 0)
        return nullptr;
    AudioEffect* effect = nullptr;
    try
    {
        effect = createEffectInstance(audioMaster);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
    return effect ? effect->getAeffect() : nullptr;
}

// Older Linux hosts look the entry up under this name.
extern "C" __attribute__((visibility("default"))) AEffect*
main_plugin(audioMasterCallback audioMaster) __asm__("main");
extern "C" AEffect* main_plugin(audioMasterCallback audioMaster)
{
    return VSTPluginMain(audioMaster);
}
