// The LV2 entry module: the plug-in and UI descriptors, the only exported
// symbols of the bundle's binary.
#include "CLv2Plugin.h"
#include "CLv2Ui.h"

#include <lv2/state/state.h>

#include <cstring>
#include <new>

namespace
{
CLv2Plugin* Self(LV2_Handle instance)
{
    return static_cast<CLv2Plugin*>(instance);
}

LV2_Handle Instantiate(const LV2_Descriptor*, double sampleRate, const char* bundlePath,
                       const LV2_Feature* const* features)
{
    if (!(sampleRate > 0.0))
        return nullptr;
    try
    {
        return new CLv2Plugin(sampleRate, bundlePath, features);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

void ConnectPort(LV2_Handle instance, uint32_t port, void* data)
{
    Self(instance)->Connect(port, data);
}

void Activate(LV2_Handle instance)
{
    Self(instance)->Activate();
}

void Run(LV2_Handle instance, uint32_t frames)
{
    Self(instance)->Run(frames);
}

void Deactivate(LV2_Handle instance)
{
    Self(instance)->Deactivate();
}

void Cleanup(LV2_Handle instance)
{
    delete Self(instance);
}

LV2_State_Status Save(LV2_Handle instance, LV2_State_Store_Function store, LV2_State_Handle handle,
                      uint32_t /*flags*/, const LV2_Feature* const* /*features*/)
{
    return Self(instance)->SaveState(store, handle);
}

LV2_State_Status Restore(LV2_Handle instance, LV2_State_Retrieve_Function retrieve,
                         LV2_State_Handle handle, uint32_t /*flags*/,
                         const LV2_Feature* const* /*features*/)
{
    return Self(instance)->RestoreState(retrieve, handle);
}

const void* ExtensionData(const char* uri)
{
    static const LV2_State_Interface state = {Save, Restore};
    if (std::strcmp(uri, LV2_STATE__interface) == 0)
        return &state;
    return nullptr;
}

const LV2_Descriptor kDescriptor = {DEESSER_LV2_URI, Instantiate, ConnectPort,  Activate, Run,
                                    Deactivate,      Cleanup,     ExtensionData};
} // namespace

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index)
{
    return index == 0 ? &kDescriptor : nullptr;
}

LV2_SYMBOL_EXPORT const LV2UI_Descriptor* lv2ui_descriptor(uint32_t index)
{
    return index == 0 ? DeEsserLv2UiDescriptor() : nullptr;
}
