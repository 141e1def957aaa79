// A minimal VST 2.4 host for tests and benchmarks: loads a built plug-in
// (DeEsser.so unless told otherwise) with dlopen, enters it through
// VSTPluginMain and records every host callback. The callback answers the
// version (2.4) and, when set, the plug-in folder.
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
    // Throws std::runtime_error when the library does not load.
    explicit HostHarness(const char* path);
#ifdef DEESSER_SO_PATH
    HostHarness() : HostHarness(DEESSER_SO_PATH) {}
#endif
    ~HostHarness();
    HostHarness(const HostHarness&) = delete;
    HostHarness& operator=(const HostHarness&) = delete;

    // Creates one instance; null when the plug-in refuses.
    AEffect* Create();
    // effOpen, sample rate, block size and, when `on`, effMainsChanged(1).
    void Start(float rate, int block, bool on = true);
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
