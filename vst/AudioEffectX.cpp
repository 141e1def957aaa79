// Opcodes 25-79 and the extension callbacks.
#include "AudioEffectX.h"

#include <cstring>

AudioEffectX::AudioEffectX(audioMasterCallback audioMaster, VstInt32 numPrograms,
                           VstInt32 numParams)
    : AudioEffect(audioMaster, numPrograms, numParams)
{
}

void AudioEffectX::resume()
{
    static char midiEvent[] = "receiveVstMidiEvent";
    if (canDo(midiEvent) == 1)
        wantEvents();
}

bool AudioEffectX::beginEdit(VstInt32 index)
{
    return callHost(audioMasterBeginEdit, index) != 0;
}

bool AudioEffectX::endEdit(VstInt32 index)
{
    return callHost(audioMasterEndEdit, index) != 0;
}

bool AudioEffectX::updateDisplay()
{
    return callHost(audioMasterUpdateDisplay) != 0;
}

char* AudioEffectX::getDirectory()
{
    return (char*)callHost(audioMasterGetDirectory);
}

bool AudioEffectX::sizeWindow(VstInt32 width, VstInt32 height)
{
    return callHost(audioMasterSizeWindow, width, height) != 0;
}

bool AudioEffectX::getHostVendorString(char* text)
{
    std::memset(text, 0, 256);
    callHost(audioMasterGetVendorString, 0, 0, text);
    text[255] = '\0';
    return text[0] != '\0';
}

bool AudioEffectX::getHostProductString(char* text)
{
    std::memset(text, 0, 256);
    callHost(audioMasterGetProductString, 0, 0, text);
    text[255] = '\0';
    return text[0] != '\0';
}

void AudioEffectX::wantEvents(VstInt32 filter)
{
    callHost(audioMasterWantMidi, 0, filter);
}

VstIntPtr AudioEffectX::dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                   float opt)
{
    if (!ptr && isOneOf(opcode, {effGetProgramNameIndexed, effGetEffectName, effGetVendorString,
                                 effGetProductString, effCanDo, effGetParameterProperties,
                                 effString2Parameter}))
        return 0;

    switch (opcode)
    {
    case effCanBeAutomated:
        return canParameterBeAutomated(index) ? 1 : 0;
    case effString2Parameter:
        return string2parameter(index, (char*)ptr) ? 1 : 0;
    case effGetProgramNameIndexed:
        return getProgramNameIndexed((VstInt32)value, index, (char*)ptr) ? 1 : 0;
    case effGetPlugCategory:
        return getPlugCategory();
    case effSetBypass:
        return setBypass(value != 0) ? 1 : 0;
    case effGetEffectName:
        return getEffectName((char*)ptr) ? 1 : 0;
    case effGetVendorString:
        return getVendorString((char*)ptr) ? 1 : 0;
    case effGetProductString:
        return getProductString((char*)ptr) ? 1 : 0;
    case effGetVendorVersion:
        return getVendorVersion();
    case effVendorSpecific:
        return vendorSpecific(index, value, ptr, opt);
    case effCanDo:
        return canDo((char*)ptr);
    case effGetTailSize:
        return getGetTailSize();
    case effGetParameterProperties:
        return getParameterProperties(index, (VstParameterProperties*)ptr) ? 1 : 0;
    case effGetVstVersion:
        return getVstVersion();
    case effStartProcess:
        return startProcess();
    case effStopProcess:
        return stopProcess();
    case effSetProcessPrecision:
        return setProcessPrecision((VstInt32)value) ? 1 : 0;
    case effGetSpeakerArrangement:
        // No arrangement is offered: both pointers are set to null.
        if (value)
            *(void**)value = nullptr;
        if (ptr)
            *(void**)ptr = nullptr;
        return 0;
    default:
        break;
    }
    if (opcode >= effProcessEvents && opcode <= effGetNumMidiOutputChannels)
        return 0;
    return AudioEffect::dispatcher(opcode, index, value, ptr, opt);
}
