// Opcodes 0-24 and the AEffect trampolines.
#include "AudioEffect.h"
#include "AEffEditor.h"

#include <cstring>

AudioEffect::AudioEffect(audioMasterCallback audioMaster, VstInt32 numPrograms, VstInt32 numParams)
    : audioMaster(audioMaster), numPrograms(numPrograms), numParams(numParams)
{
    std::memset(&cEffect, 0, sizeof(cEffect));
    cEffect.magic = kEffectMagic;
    cEffect.dispatcher = dispatchTrampoline;
    cEffect.process = processTrampoline;
    cEffect.setParameter = setParameterTrampoline;
    cEffect.getParameter = getParameterTrampoline;
    cEffect.numPrograms = numPrograms;
    cEffect.numParams = numParams;
    cEffect.numInputs = 1;
    cEffect.numOutputs = 2;
    cEffect.flags = effFlagsCanReplacing;
    cEffect.ioRatio = 1.f;
    cEffect.object = this;
    cEffect.uniqueID = VstFourCC('N', 'o', 'E', 'f');
    cEffect.version = 1;
    cEffect.processReplacing = processReplacingTrampoline;
    cEffect.processDoubleReplacing = processDoubleReplacingTrampoline;
}

AudioEffect::~AudioEffect()
{
    delete editor;
    editor = nullptr;
}

void AudioEffect::setFlag(VstInt32 flag, bool state)
{
    if (state)
        cEffect.flags |= flag;
    else
        cEffect.flags &= ~flag;
}

void AudioEffect::setEditor(AEffEditor* newEditor)
{
    editor = newEditor;
    setFlag(effFlagsHasEditor, editor != nullptr);
}

VstIntPtr AudioEffect::callHost(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                float opt)
{
    if (!audioMaster)
        return 0;
    return audioMaster(&cEffect, opcode, index, value, ptr, opt);
}

VstInt32 AudioEffect::getMasterVersion()
{
    return (VstInt32)callHost(audioMasterVersion);
}

void AudioEffect::setParameterAutomated(VstInt32 index, float value)
{
    setParameter(index, value);
    callHost(audioMasterAutomate, index, 0, nullptr, value);
}

VstIntPtr AudioEffect::dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                  float opt)
{
    // Opcodes that write into or read from the host's buffer need one.
    if (!ptr &&
        isOneOf(opcode, {effSetProgramName, effGetProgramName, effGetParamLabel, effGetParamDisplay,
                         effGetParamName, effEditGetRect, effGetChunk, effSetChunk}))
        return 0;

    switch (opcode)
    {
    case effOpen:
        open();
        return 0;
    case effClose:
        // VST 2.4 hosts release an instance through effClose alone.
        close();
        delete this;
        return 0;
    case effSetProgram:
        if (value >= 0 && value < numPrograms)
            setProgram((VstInt32)value);
        return 0;
    case effGetProgram:
        return getProgram();
    case effSetProgramName:
        setProgramName((char*)ptr);
        return 0;
    case effGetProgramName:
        getProgramName((char*)ptr);
        return 0;
    case effGetParamLabel:
        getParameterLabel(index, (char*)ptr);
        return 0;
    case effGetParamDisplay:
        getParameterDisplay(index, (char*)ptr);
        return 0;
    case effGetParamName:
        getParameterName(index, (char*)ptr);
        return 0;
    case effGetVu:
        return (VstIntPtr)(getVu() * 32767.f);
    case effSetSampleRate:
        setSampleRate(opt);
        return 0;
    case effSetBlockSize:
        setBlockSize((VstInt32)value);
        return 0;
    case effMainsChanged:
        if (value == 0)
            suspend();
        else
            resume();
        return 0;
    case effEditGetRect:
        if (editor)
            return editor->getRect((ERect**)ptr) ? 1 : 0;
        *(ERect**)ptr = nullptr;
        return 0;
    case effEditOpen:
        return editor && editor->open(ptr) ? 1 : 0;
    case effEditClose:
        if (editor)
            editor->close();
        return 0;
    case effEditDraw:
        if (editor)
            editor->draw((ERect*)ptr);
        return 0;
    case effEditMouse:
        return editor ? editor->mouse(index, (VstInt32)value) : 0;
    case effEditKey:
        return editor ? editor->key((VstInt32)value) : 0;
    case effEditIdle:
        if (editor)
            editor->idle();
        return 0;
    case effEditTop:
        if (editor)
            editor->top();
        return 0;
    case effEditSleep:
        if (editor)
            editor->sleep();
        return 0;
    case effIdentify:
        return VstFourCC('N', 'v', 'E', 'f');
    case effGetChunk:
        return getChunk((void**)ptr, index != 0);
    case effSetChunk:
        if (value < 0)
            return 0;
        return setChunk(ptr, (VstInt32)value, index != 0);
    default:
        return 0;
    }
}

VstIntPtr AudioEffect::dispatchTrampoline(AEffect* e, VstInt32 opcode, VstInt32 index,
                                          VstIntPtr value, void* ptr, float opt)
{
    if (!e || !e->object)
        return 0;
    return static_cast<AudioEffect*>(e->object)->dispatcher(opcode, index, value, ptr, opt);
}

float AudioEffect::getParameterTrampoline(AEffect* e, VstInt32 index)
{
    return static_cast<AudioEffect*>(e->object)->getParameter(index);
}

void AudioEffect::setParameterTrampoline(AEffect* e, VstInt32 index, float value)
{
    static_cast<AudioEffect*>(e->object)->setParameter(index, value);
}

void AudioEffect::processTrampoline(AEffect* e, float** inputs, float** outputs, VstInt32 frames)
{
    // The accumulating call is obsolete; hosts that still use it get replacing output.
    static_cast<AudioEffect*>(e->object)->processReplacing(inputs, outputs, frames);
}

void AudioEffect::processReplacingTrampoline(AEffect* e, float** inputs, float** outputs,
                                             VstInt32 frames)
{
    static_cast<AudioEffect*>(e->object)->processReplacing(inputs, outputs, frames);
}

void AudioEffect::processDoubleReplacingTrampoline(AEffect* e, double** inputs, double** outputs,
                                                   VstInt32 frames)
{
    static_cast<AudioEffect*>(e->object)->processDoubleReplacing(inputs, outputs, frames);
}
