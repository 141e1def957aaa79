// A minimal VST 2.4 host for tests: loads the built DeEsser.so with dlopen,
// enters it through VSTPluginMain and records every host callback.
#pragma once

#include "AEffect.h"

#include <string>
#include <vector>

struct HostCall
{
    VstInt32 opcode;
    VstInt32 index;
    VstIntPtr value;
    float opt;
};

class HostHarness
{
public:
    HostHarness();
    ~HostHarness();

    // Creates one instance; null when the plug-in refuses.
    AEffect* Create();
    VstIntPtr Dispatch(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0,
                       void* ptr = nullptr, float opt = 0.f);
    std::string String(VstInt32 opcode, VstInt32 index = 0); // a text-returning opcode
    void Close();                                            // effClose

    AEffect* effect = nullptr;
    void* library = nullptr;
    AEffect* (*entry)(audioMasterCallback) = nullptr;

    static std::vector<HostCall> calls;
    static VstIntPtr versionAnswer;
    static const char* directoryAnswer;
    // The host's names (null: it writes nothing) and what it answers with them.
    static const char* productAnswer;
    static const char* vendorAnswer;
    static VstIntPtr nameResult;
    static VstIntPtr Callback(AEffect*, VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                              float opt);
};
