#include "HostHarness.h"

#include <cstring>
#include <dlfcn.h>
#include <stdexcept>

std::vector<HostCall> HostHarness::calls;
VstIntPtr HostHarness::versionAnswer = 2400;
const char* HostHarness::directoryAnswer = nullptr;

VstIntPtr HostHarness::Callback(AEffect*, VstInt32 opcode, VstInt32 index, VstIntPtr value, void*,
                                float opt)
{
    calls.push_back({opcode, index, value, opt});
    if (opcode == 1) // audioMasterVersion
        return versionAnswer;
    if (opcode == 41) // audioMasterGetDirectory
        return (VstIntPtr)directoryAnswer;
    return 0;
}

HostHarness::HostHarness()
{
    library = dlopen(DEESSER_SO_PATH, RTLD_NOW | RTLD_LOCAL);
    if (!library)
        throw std::runtime_error(dlerror());
    entry = (AEffect * (*)(audioMasterCallback)) dlsym(library, "VSTPluginMain");
    calls.clear();
    versionAnswer = 2400;
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
