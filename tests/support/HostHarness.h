// A minimal VST 2.4 host for tests and benchmarks: loads a built plug-in
// (DeEsser.so unless told otherwise) with dlopen, enters it through
// VSTPluginMain and records every host callback. The callback answers the
// version (2.4) and, when set, the plug-in folder and the host's names.
#pragma once

#include "AEffect.h"

#include <cstring>
#include <dlfcn.h>
#include <stdexcept>
#include <string>
#include <vector>

struct HostCall
{
    VstInt32 opcode;
    VstInt32 index;
    VstIntPtr value;
    float opt;
    bool operator==(const HostCall& o) const
    {
        return opcode == o.opcode && index == o.index && value == o.value && opt == o.opt;
    }
};

class HostHarness
{
public:
    // Throws std::runtime_error when the library does not load.
    explicit HostHarness(const char* path) : library(dlopen(path, RTLD_NOW | RTLD_LOCAL))
    {
        if (!library)
            throw std::runtime_error(dlerror());
        entry = (AEffect * (*)(audioMasterCallback)) dlsym(library, "VSTPluginMain");
        calls.clear();
        versionAnswer = 2400;
        directoryAnswer = productAnswer = vendorAnswer = nullptr;
        nameResult = 1;
    }
#ifdef DEESSER_SO_PATH
    HostHarness() : HostHarness(DEESSER_SO_PATH) {}
#endif
    ~HostHarness()
    {
        Close();
        dlclose(library);
    }
    HostHarness(const HostHarness&) = delete;
    HostHarness& operator=(const HostHarness&) = delete;

    // Creates one instance; null when the plug-in refuses.
    AEffect* Create()
    {
        return effect = entry ? entry(&HostHarness::Callback) : nullptr;
    }
    // effOpen, sample rate, block size and, when `on`, effMainsChanged(1).
    void Start(float rate, int block, bool on = true)
    {
        Dispatch(effOpen);
        Dispatch(effSetSampleRate, 0, 0, nullptr, rate);
        Dispatch(effSetBlockSize, 0, block);
        if (on)
            Dispatch(effMainsChanged, 0, 1);
    }
    VstIntPtr Dispatch(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0,
                       void* ptr = nullptr, float opt = 0.f)
    {
        return effect->dispatcher(effect, opcode, index, value, ptr, opt);
    }
    // A text-returning opcode's text.
    std::string String(VstInt32 opcode, VstInt32 index = 0)
    {
        char text[256] = {};
        Dispatch(opcode, index, 0, text);
        return text;
    }
    void Close() // effClose
    {
        if (effect)
            Dispatch(effClose);
        effect = nullptr;
    }

    AEffect* effect = nullptr;
    void* library = nullptr;
    AEffect* (*entry)(audioMasterCallback) = nullptr;

    inline static std::vector<HostCall> calls;
    inline static VstIntPtr versionAnswer = 2400;
    inline static const char* directoryAnswer = nullptr;
    // The host's names (null: it writes nothing) and what it answers with them.
    inline static const char* productAnswer = nullptr;
    inline static const char* vendorAnswer = nullptr;
    inline static VstIntPtr nameResult = 1;
    static VstIntPtr Callback(AEffect*, VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                              float opt)
    {
        calls.push_back({opcode, index, value, opt});
        if (opcode == audioMasterVersion)
            return versionAnswer;
        if (opcode == audioMasterGetDirectory)
            return (VstIntPtr)directoryAnswer;
        if (opcode != audioMasterGetVendorString && opcode != audioMasterGetProductString)
            return 0;
        const char* name = opcode == audioMasterGetVendorString ? vendorAnswer : productAnswer;
        if (name)
            std::strcpy((char*)ptr, name);
        return name ? nameResult : 0;
    }
};
