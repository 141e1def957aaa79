// The VST 2.4 binary interface as hosts see it: the AEffect record, the opcode
// numbers in both directions, and the small structures passed through them.
// Written from the publicly known layout of the ABI (x86_64, default packing).
#pragma once

#include <cstddef>
#include <cstdint>

typedef int32_t VstInt32;
typedef intptr_t VstIntPtr;
typedef int16_t VstInt16;

struct AEffect;

// Host callback. The last argument is a float: audioMasterAutomate carries the
// normalised parameter value there.
typedef VstIntPtr (*audioMasterCallback)(AEffect* effect, VstInt32 opcode, VstInt32 index,
                                         VstIntPtr value, void* ptr, float opt);

typedef VstIntPtr (*AEffectDispatcherProc)(AEffect* effect, VstInt32 opcode, VstInt32 index,
                                           VstIntPtr value, void* ptr, float opt);
typedef void (*AEffectProcessProc)(AEffect* effect, float** inputs, float** outputs,
                                   VstInt32 sampleFrames);
typedef void (*AEffectProcessDoubleProc)(AEffect* effect, double** inputs, double** outputs,
                                         VstInt32 sampleFrames);
typedef void (*AEffectSetParameterProc)(AEffect* effect, VstInt32 index, float parameter);
typedef float (*AEffectGetParameterProc)(AEffect* effect, VstInt32 index);

// Four characters packed with the first one in the most significant byte.
constexpr VstInt32 VstFourCC(char a, char b, char c, char d)
{
    return (VstInt32)(((uint32_t)(uint8_t)a << 24) | ((uint32_t)(uint8_t)b << 16) |
                      ((uint32_t)(uint8_t)c << 8) | (uint32_t)(uint8_t)d);
}

constexpr VstInt32 kEffectMagic = VstFourCC('V', 's', 't', 'P');

struct AEffect
{
    VstInt32 magic;
    AEffectDispatcherProc dispatcher;
    AEffectProcessProc process; // accumulating process, unused since 2.4
    AEffectSetParameterProc setParameter;
    AEffectGetParameterProc getParameter;
    VstInt32 numPrograms;
    VstInt32 numParams;
    VstInt32 numInputs;
    VstInt32 numOutputs;
    VstInt32 flags;
    VstIntPtr resvd1;
    VstIntPtr resvd2;
    VstInt32 initialDelay;
    VstInt32 realQualities;
    VstInt32 offQualities;
    float ioRatio;
    void* object;
    void* user;
    VstInt32 uniqueID;
    VstInt32 version;
    AEffectProcessProc processReplacing;
    AEffectProcessDoubleProc processDoubleReplacing;
    char future[56];
};

static_assert(sizeof(void*) != 8 || sizeof(AEffect) == 192, "AEffect layout");
static_assert(sizeof(void*) != 8 || offsetof(AEffect, uniqueID) == 112, "AEffect layout");

enum VstAEffectFlags
{
    effFlagsHasEditor = 1 << 0,
    effFlagsHasClip = 1 << 1,
    effFlagsHasVu = 1 << 2,
    effFlagsCanMono = 1 << 3,
    effFlagsCanReplacing = 1 << 4,
    effFlagsProgramChunks = 1 << 5,
    effFlagsIsSynth = 1 << 8,
    effFlagsNoSoundInStop = 1 << 9,
    effFlagsCanDoubleReplacing = 1 << 12,
};

// Opcodes the host sends to the plug-in's dispatcher.
enum AEffectOpcodes
{
    effOpen = 0,
    effClose,
    effSetProgram,
    effGetProgram,
    effSetProgramName,
    effGetProgramName,
    effGetParamLabel,
    effGetParamDisplay,
    effGetParamName,
    effGetVu,
    effSetSampleRate,
    effSetBlockSize,
    effMainsChanged,
    effEditGetRect,
    effEditOpen,
    effEditClose,
    effEditDraw,
    effEditMouse,
    effEditKey,
    effEditIdle,
    effEditTop,
    effEditSleep,
    effIdentify,
    effGetChunk,
    effSetChunk,
    effNumOpcodes
};

enum AEffectXOpcodes
{
    effProcessEvents = effSetChunk + 1, // 25
    effCanBeAutomated,
    effString2Parameter,
    effGetNumProgramCategories,
    effGetProgramNameIndexed,
    effCopyProgram,
    effConnectInput,
    effConnectOutput,
    effGetInputProperties,
    effGetOutputProperties,
    effGetPlugCategory, // 35
    effGetCurrentPosition,
    effGetDestinationBuffer,
    effOfflineNotify,
    effOfflinePrepare,
    effOfflineRun, // 40
    effProcessVarIo,
    effSetSpeakerArrangement,
    effSetBlockSizeAndSampleRate,
    effSetBypass,
    effGetEffectName, // 45
    effGetErrorText,
    effGetVendorString,
    effGetProductString,
    effGetVendorVersion,
    effVendorSpecific, // 50
    effCanDo,
    effGetTailSize,
    effIdle,
    effGetIcon,
    effSetViewPosition, // 55
    effGetParameterProperties,
    effKeysRequired,
    effGetVstVersion,
    effEditKeyDown,
    effEditKeyUp, // 60
    effSetEditKnobMode,
    effGetMidiProgramName,
    effGetCurrentMidiProgram,
    effGetMidiProgramCategory,
    effHasMidiProgramsChanged, // 65
    effGetMidiKeyName,
    effBeginSetProgram,
    effEndSetProgram,
    effGetSpeakerArrangement,
    effShellGetNextPlugin, // 70
    effStartProcess,
    effStopProcess,
    effSetTotalSampleToProcess,
    effSetPanLaw,
    effBeginLoadBank, // 75
    effBeginLoadProgram,
    effSetProcessPrecision,
    effGetNumMidiInputChannels,
    effGetNumMidiOutputChannels, // 79
};

// Opcodes the plug-in sends to the host callback (only the ones in use here
// and their neighbours for orientation).
enum AudioMasterOpcodes
{
    audioMasterAutomate = 0,
    audioMasterVersion = 1,
    audioMasterCurrentId = 2,
    audioMasterIdle = 3,
    audioMasterWantMidi = 6,
    audioMasterSizeWindow = 15, // index: width, value: height
    audioMasterGetTime = 7,
    audioMasterGetSampleRate = 16,
    audioMasterGetBlockSize = 17,
    audioMasterGetVendorString = 32,
    audioMasterGetProductString = 33,
    audioMasterGetVendorVersion = 34,
    audioMasterCanDo = 37,
    audioMasterGetDirectory = 41,
    audioMasterUpdateDisplay = 42,
    audioMasterBeginEdit = 43,
    audioMasterEndEdit = 44,
};

enum VstPlugCategory
{
    kPlugCategUnknown = 0,
    kPlugCategEffect = 1,
};

enum
{
    kVstMaxProgNameLen = 24,
    kVstMaxParamStrLen = 8,
    kVstMaxVendorStrLen = 64,
    kVstMaxProductStrLen = 64,
    kVstMaxEffectNameLen = 32,
};

enum VstParameterFlags
{
    kVstParameterIsSwitch = 1 << 0,
    kVstParameterUsesIntegerMinMax = 1 << 1,
    kVstParameterUsesFloatStep = 1 << 2,
    kVstParameterUsesIntStep = 1 << 3,
    kVstParameterSupportsDisplayIndex = 1 << 4,
    kVstParameterSupportsDisplayCategory = 1 << 5,
    kVstParameterCanRamp = 1 << 6,
};

struct VstParameterProperties
{
    float stepFloat;
    float smallStepFloat;
    float largeStepFloat;
    char label[64];
    VstInt32 flags;
    VstInt32 minInteger;
    VstInt32 maxInteger;
    VstInt32 stepInteger;
    VstInt32 largeStepInteger;
    char shortLabel[8];
    VstInt16 displayIndex;
    VstInt16 category;
    VstInt16 numParametersInCategory;
    VstInt16 reserved;
    char categoryLabel[24];
    char future[16];
};

static_assert(sizeof(VstParameterProperties) == 152, "VstParameterProperties layout");

// Editor rectangle: signed 16-bit, top/left/bottom/right in that order.
struct ERect
{
    VstInt16 top;
    VstInt16 left;
    VstInt16 bottom;
    VstInt16 right;
};
