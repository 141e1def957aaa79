// AudioEffectX: the VST 2.x extensions. Decodes opcodes 25-79 into virtual
// operations with their default answers and passes every other opcode to
// AudioEffect. Threads as in AudioEffect.h.
#pragma once

#include "AudioEffect.h"

// The interface version this build reports to hosts.
constexpr VstInt32 kVstVersion = 2300;

class AudioEffectX : public AudioEffect
{
public:
    AudioEffectX(audioMasterCallback audioMaster, VstInt32 numPrograms, VstInt32 numParams);

    VstIntPtr dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                         float opt) override;

    void resume() override;

    virtual bool canParameterBeAutomated(VstInt32 /*index*/) { return true; }
    virtual bool string2parameter(VstInt32 /*index*/, char* /*text*/) { return false; }
    virtual bool getProgramNameIndexed(VstInt32 /*category*/, VstInt32 /*index*/, char* /*text*/)
    {
        return false;
    }
    virtual bool getParameterProperties(VstInt32 /*index*/, VstParameterProperties* /*p*/)
    {
        return false;
    }
    virtual VstInt32 getPlugCategory() { return kPlugCategEffect; }
    virtual bool getEffectName(char* /*name*/) { return false; }
    virtual bool getVendorString(char* /*text*/) { return false; }
    virtual bool getProductString(char* /*text*/) { return false; }
    virtual VstInt32 getVendorVersion() { return 0; }
    virtual VstIntPtr vendorSpecific(VstInt32, VstIntPtr, void*, float) { return 0; }
    virtual VstInt32 canDo(char* /*text*/) { return 0; }
    virtual VstInt32 getGetTailSize() { return 0; }
    virtual VstInt32 getVstVersion() { return kVstVersion; }
    virtual VstInt32 startProcess() { return 0; }
    virtual VstInt32 stopProcess() { return 0; }
    virtual bool setBypass(bool /*onOff*/) { return false; }
    virtual bool setProcessPrecision(VstInt32 /*precision*/) { return false; }

    // Record set-up
    virtual void canMono(bool state = true) { setFlag(effFlagsCanMono, state); }
    virtual void isSynth(bool state = true) { setFlag(effFlagsIsSynth, state); }

    // Host callback helpers; each is skipped without a callback.
    virtual bool beginEdit(VstInt32 index);
    virtual bool endEdit(VstInt32 index);
    virtual bool updateDisplay();
    // Asks the host to resize the editor's window; true when it agreed.
    virtual bool sizeWindow(VstInt32 width, VstInt32 height);
    virtual char* getDirectory();
    // The host's names for itself into `text` (at least 256 bytes, cleared
    // first). Some hosts fill the text yet answer 0, so the text is what counts.
    virtual bool getHostVendorString(char* text);
    virtual bool getHostProductString(char* text);
    virtual void wantEvents(VstInt32 filter = 1);
};
