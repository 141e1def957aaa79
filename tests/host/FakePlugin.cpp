// Small VST 2.4 modules for the host's tests, one per FAKE_KIND (the kinds
// are listed at FakePlugin() in HostTestSupport.h).
#include "AEffect.h"

#include <cstring>

#define EXPORT extern "C" __attribute__((visibility("default")))

#if FAKE_KIND == 1
EXPORT AEffect* VSTPluginMain(audioMasterCallback)
{
    return nullptr;
}
#elif FAKE_KIND == 2
static AEffect g_Junk;
EXPORT AEffect* VSTPluginMain(audioMasterCallback)
{
    g_Junk.magic = VstFourCC('N', 'o', 'p', 'e');
    return &g_Junk;
}
#elif FAKE_KIND == 3
namespace
{
struct GainEffect
{
    AEffect record{};
    float gain = 0.75f;
};

VstIntPtr dispatch(AEffect* e, VstInt32 opcode, VstInt32, VstIntPtr, void* ptr, float)
{
    if (opcode == effClose)
        delete (GainEffect*)e;
    else if (opcode == effGetParamName)
        std::strcpy((char*)ptr, "Gain");
    return 0;
}

void process(AEffect* e, float** in, float** out, VstInt32 frames)
{
    const float g = 4.f * ((GainEffect*)e)->gain - 2.f;
    for (int c = 0; c < 2; ++c)
        for (VstInt32 i = 0; i < frames; ++i)
            out[c][i] = in[c][i] * g;
}
} // namespace

// A host whose callback does not answer audioMasterVersion is refused.
EXPORT AEffect* VSTPluginMain(audioMasterCallback master)
{
    if (!master || master(nullptr, audioMasterVersion, 0, 0, nullptr, 0.f) == 0)
        return nullptr;
    AEffect& r = (new GainEffect)->record;
    r.magic = kEffectMagic;
    r.dispatcher = dispatch;
    r.setParameter = [](AEffect* e, VstInt32, float v) { ((GainEffect*)e)->gain = v; };
    r.getParameter = [](AEffect* e, VstInt32) { return ((GainEffect*)e)->gain; };
    r.processReplacing = process;
    r.numPrograms = r.numParams = 1;
    r.numInputs = r.numOutputs = 2;
    r.flags = effFlagsCanReplacing;
    r.uniqueID = VstFourCC('T', 's', 'G', 'n');
    return &r;
}
#endif
