#include "VstTestPlugin.h"

#include <cstring>
#include <dlfcn.h>

namespace
{
VstIntPtr Callback(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float)
{
    return opcode == audioMasterVersion ? 2400 : 0;
}
} // namespace

VstTestPlugin::VstTestPlugin(const std::string& path)
{
    m_Library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_Library)
        return;
    auto entry =
        reinterpret_cast<AEffect* (*)(audioMasterCallback)>(dlsym(m_Library, "VSTPluginMain"));
    effect = entry ? entry(Callback) : nullptr;
    if (effect)
        Dispatch(effOpen);
}

VstTestPlugin::~VstTestPlugin()
{
    if (effect)
    {
        Dispatch(effMainsChanged, 0, 0);
        Dispatch(effClose);
    }
    if (m_Library)
        dlclose(m_Library);
}

VstIntPtr VstTestPlugin::Dispatch(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                  float opt)
{
    return effect->dispatcher(effect, opcode, index, value, ptr, opt);
}

void VstTestPlugin::Start(float rate, int block)
{
    Dispatch(effSetSampleRate, 0, 0, nullptr, rate);
    Dispatch(effSetBlockSize, 0, block);
    Dispatch(effMainsChanged, 0, 1);
    Dispatch(effStartProcess);
}

void VstTestPlugin::Stop()
{
    Dispatch(effStopProcess);
    Dispatch(effMainsChanged, 0, 0);
}

void VstTestPlugin::Process(const float* inL, const float* inR, float* outL, float* outR,
                            int frames)
{
    for (int ch = 0; ch < 2; ++ch)
        m_In[ch].assign(ch ? inR : inL, (ch ? inR : inL) + frames);
    float* in[2] = {m_In[0].data(), m_In[1].data()};
    float* out[2] = {outL, outR};
    effect->processReplacing(effect, in, out, frames);
}
