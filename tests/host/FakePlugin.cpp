// Small VST 2.4 modules for the host's tests, one per FAKE_KIND:
//   0 exports no entry at all, 1 has an entry that returns null,
//   2 returns a record with a wrong magic, 3 is a working stereo gain effect
//   ("Gain" 0..1 times two, "Polarity" switch) that is not the de-esser.
#include "AEffect.h"

#include <cstdio>
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
    std::memset(&g_Junk, 0, sizeof(g_Junk));
    g_Junk.magic = VstFourCC('N', 'o', 'p', 'e');
    return &g_Junk;
}
#elif FAKE_KIND == 3
namespace
{
struct GainEffect
{
    AEffect record;
    float gain = 0.5f;    // normalised; the applied factor is 2 × gain
    float polarity = 0.f; // 1: inverted
};

GainEffect* self(AEffect* e)
{
    return (GainEffect*)e->object;
}

VstIntPtr dispatch(AEffect* e, VstInt32 opcode, VstInt32 index, VstIntPtr, void* ptr, float)
{
    char* text = (char*)ptr;
    switch (opcode)
    {
    case effClose:
        delete self(e);
        return 1;
    case effGetParamName:
        std::strcpy(text, index == 0 ? "Gain" : "Polarity");
        return 0;
    case effGetParamLabel:
        std::strcpy(text, "");
        return 0;
    case effGetParamDisplay:
        if (index == 0)
            std::snprintf(text, 8, "%.3f", 2.0 * self(e)->gain);
        else
            std::strcpy(text, self(e)->polarity >= 0.5f ? "-" : "+");
        return 0;
    case effGetEffectName:
        std::strcpy(text, "Test Gain");
        return 1;
    case effGetProgramNameIndexed:
        std::strcpy(text, "Only");
        return 1;
    default:
        return 0;
    }
}

void setParameter(AEffect* e, VstInt32 index, float v)
{
    if (index == 0)
        self(e)->gain = v;
    else if (index == 1)
        self(e)->polarity = v;
}

float getParameter(AEffect* e, VstInt32 index)
{
    return index == 0 ? self(e)->gain : index == 1 ? self(e)->polarity : 0.f;
}

void process(AEffect* e, float** in, float** out, VstInt32 frames)
{
    float g = 2.f * self(e)->gain * (self(e)->polarity >= 0.5f ? -1.f : 1.f);
    for (int c = 0; c < 2; ++c)
        for (VstInt32 i = 0; i < frames; ++i)
            out[c][i] = in[c][i] * g;
}
} // namespace

EXPORT AEffect* VSTPluginMain(audioMasterCallback master)
{
    if (!master || master(nullptr, audioMasterVersion, 0, 0, nullptr, 0.f) == 0)
        return nullptr;
    GainEffect* g = new GainEffect;
    AEffect& r = g->record;
    std::memset(&r, 0, sizeof(r));
    r.magic = kEffectMagic;
    r.dispatcher = dispatch;
    r.setParameter = setParameter;
    r.getParameter = getParameter;
    r.processReplacing = process;
    r.numPrograms = 1;
    r.numParams = 2;
    r.numInputs = 2;
    r.numOutputs = 2;
    r.flags = effFlagsCanReplacing;
    r.ioRatio = 1.f;
    r.object = g;
    r.uniqueID = VstFourCC('T', 's', 'G', 'n');
    r.version = 1;
    return &r;
}
#endif

// Every kind needs at least one symbol of its own.
EXPORT int FakePluginKind()
{
    return FAKE_KIND;
}
