// The plug-in's entry module: the exported VSTPluginMain (and main, which
// older Linux hosts look up), and effect creation.
#include "ADeEsser.h"
#include "VstEntry.h"

#include <new>

AudioEffect* createEffectInstance(audioMasterCallback audioMaster)
{
    return new ADeEsser(audioMaster);
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
