// The test host's library loading, entry and recording callback.
#include "HostHarness.h"

#include <cstring>
#include <dlfcn.h>
#include <stdexcept>

std::vector<HostCall> HostHarness::calls;
VstIntPtr HostHarness::versionAnswer = 2400;
const char* HostHarness::directoryAnswer = nullptr;
const char* HostHarness::productAnswer = nullptr;
const char* HostHarness::vendorAnswer = nullptr;
VstIntPtr HostHarness::nameResult = 1;

VstIntPtr HostHarness::Callback(AEffect*, VstInt32 opcode, VstInt32 index, VstIntPtr value,
                                void* ptr, float opt)
{
    calls.push_back({opcode, index, value, opt});
    if (opcode == audioMasterVersion)
        return versionAnswer;
    if (opcode == audioMasterGetDirectory)
        return (VstIntPtr)directoryAnswer;
    if (opcode == audioMasterGetVendorString || opcode == audioMasterGetProductString)
    {
        const char* name = opcode == audioMasterGetVendorString ? vendorAnswer : productAnswer;
        if (!name)
            return 0;
        std::strcpy((char*)ptr, name);
        return nameResult;
    }
    return 0;
}

HostHarness::HostHarness(const char* path)
{
    library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (!library)
        throw std::runtime_error(dlerror());
    entry = (AEffect * (*)(audioMasterCallback)) dlsym(library, "VSTPluginMain");
    calls.clear();
    versionAnswer = 2400;
    directoryAnswer = nullptr;
    productAnswer = vendorAnswer = nullptr;
    nameResult = 1;
}

HostHarness::~HostHarness()
{
    Close();
    if (library)
        dlclose(library);
}

AEffect* HostHarness::Create()
{
    effect = entry ? entry(&HostHarness::Callback) : nullptr;
    return effect;
}

void HostHarness::Start(float rate, int block, bool on)
{
    Dispatch(effOpen);
    Dispatch(effSetSampleRate, 0, 0, nullptr, rate);
    Dispatch(effSetBlockSize, 0, block);
    if (on)
        Dispatch(effMainsChanged, 0, 1);
}

VstIntPtr HostHarness::Dispatch(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                float opt)
{
    return effect->dispatcher(effect, opcode, index, value, ptr, opt);
}

std::string HostHarness::String(VstInt32 opcode, VstInt32 index)
{
    char text[256];
    std::memset(text, 0, sizeof(text));
    Dispatch(opcode, index, 0, text);
    return text;
}

void HostHarness::Close()
{
    if (effect)
        Dispatch(effClose);
    effect = nullptr;
}
