// The built VST 2.4 plug-in loaded as a host loads it (dlopen, VSTPluginMain
// with a callback that answers the version query), for renders side by side
// with the other plug-in formats. Inputs are copied before processing: the
// effect scales its input buffers in place.
#pragma once

#include "AEffect.h"

#include <string>
#include <vector>

class VstTestPlugin
{
public:
    explicit VstTestPlugin(const std::string& path); // loads and sends effOpen
    ~VstTestPlugin();                                // mains off, effClose, dlclose

    AEffect* effect = nullptr;

    VstIntPtr Dispatch(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0,
                       void* ptr = nullptr, float opt = 0.f);
    // Sample rate, block size, mains on, start of processing.
    void Start(float rate, int block);
    void Stop(); // stop of processing, mains off
    void Set(int index, float normalised) { effect->setParameter(effect, index, normalised); }
    void Process(const float* inL, const float* inR, float* outL, float* outR, int frames);

private:
    void* m_Library = nullptr;
    std::vector<float> m_In[2];
};
