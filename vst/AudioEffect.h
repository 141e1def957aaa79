// AudioEffect: the plug-in object behind an AEffect record. It fills the record,
// decodes opcodes 0-24 into virtual operations with the default answers hosts
// expect, and wraps the host callback so that a null callback is skipped.
//
// Threads: dispatcher() and everything it reaches run on the host's dispatcher
// (UI) thread; processReplacing/processDoubleReplacing on the audio thread;
// setParameter/getParameter on whichever thread the host uses.
#pragma once

#include "AEffect.h"

#include <initializer_list>

class AEffEditor;

class AudioEffect
{
public:
    AudioEffect(audioMasterCallback audioMaster, VstInt32 numPrograms, VstInt32 numParams);
    virtual ~AudioEffect(); // deletes the editor

    virtual VstIntPtr dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                 float opt);

    // Lifecycle
    virtual void open() {}
    virtual void close() {}
    virtual void suspend() {}
    virtual void resume() {}
    virtual void setSampleRate(float rate) { sampleRate = rate; }
    virtual void setBlockSize(VstInt32 size) { blockSize = size; }

    // Processing
    virtual void processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames) = 0;
    virtual void processDoubleReplacing(double** /*inputs*/, double** /*outputs*/,
                                        VstInt32 /*sampleFrames*/)
    {
    }

    // Parameters
    virtual void setParameter(VstInt32 /*index*/, float /*value*/) {}
    virtual float getParameter(VstInt32 /*index*/) { return 0; }
    virtual void setParameterAutomated(VstInt32 index, float value);
    virtual void getParameterLabel(VstInt32 /*index*/, char* label) { *label = 0; }
    virtual void getParameterDisplay(VstInt32 /*index*/, char* text) { *text = 0; }
    virtual void getParameterName(VstInt32 /*index*/, char* text) { *text = 0; }
    virtual float getVu() { return 0; }

    // Programs
    virtual void setProgram(VstInt32 program) { curProgram = program; }
    virtual VstInt32 getProgram() { return curProgram; }
    virtual void setProgramName(char* /*name*/) {}
    virtual void getProgramName(char* name) { *name = 0; }
    virtual VstInt32 getChunk(void** data, bool /*isPreset*/ = false)
    {
        *data = nullptr;
        return 0;
    }
    virtual VstInt32 setChunk(void* /*data*/, VstInt32 /*byteSize*/, bool /*isPreset*/ = false)
    {
        return 0;
    }

    // Set-up of the record
    virtual void setUniqueID(VstInt32 id) { cEffect.uniqueID = id; }
    virtual void setNumInputs(VstInt32 inputs) { cEffect.numInputs = inputs; }
    virtual void setNumOutputs(VstInt32 outputs) { cEffect.numOutputs = outputs; }
    virtual void canProcessReplacing(bool state) { setFlag(effFlagsCanReplacing, state); }
    virtual void canDoubleReplacing(bool state) { setFlag(effFlagsCanDoubleReplacing, state); }
    virtual void programsAreChunks(bool state) { setFlag(effFlagsProgramChunks, state); }
    virtual void setInitialDelay(VstInt32 delay) { cEffect.initialDelay = delay; }
    virtual void setEditor(AEffEditor* newEditor);

    AEffect* getAeffect() { return &cEffect; }
    AEffEditor* getEditor() { return editor; }
    float getSampleRate() const { return sampleRate; }
    VstInt32 getBlockSize() const { return blockSize; }
    audioMasterCallback getAudioMaster() const { return audioMaster; }

    // Host callback helpers; each answers 0 when there is no callback.
    VstIntPtr callHost(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0,
                       void* ptr = nullptr, float opt = 0.f);
    virtual VstInt32 getMasterVersion();
    virtual void masterIdle() { callHost(audioMasterIdle); }

protected:
    static bool isOneOf(VstInt32 opcode, std::initializer_list<VstInt32> opcodes)
    {
        for (VstInt32 o : opcodes)
            if (o == opcode)
                return true;
        return false;
    }

    void setFlag(VstInt32 flag, bool state);

    audioMasterCallback audioMaster;
    AEffEditor* editor = nullptr;
    float sampleRate = 44100.f;
    VstInt32 blockSize = 1024;
    VstInt32 numPrograms;
    VstInt32 numParams;
    VstInt32 curProgram = 0;
    AEffect cEffect;

private:
    static VstIntPtr dispatchTrampoline(AEffect* e, VstInt32 opcode, VstInt32 index,
                                        VstIntPtr value, void* ptr, float opt);
    static float getParameterTrampoline(AEffect* e, VstInt32 index);
    static void setParameterTrampoline(AEffect* e, VstInt32 index, float value);
    static void processTrampoline(AEffect* e, float** inputs, float** outputs, VstInt32 frames);
    static void processReplacingTrampoline(AEffect* e, float** inputs, float** outputs,
                                           VstInt32 frames);
    static void processDoubleReplacingTrampoline(AEffect* e, double** inputs, double** outputs,
                                                 VstInt32 frames);
};
