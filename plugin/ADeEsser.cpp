// ADeEsser construction, lifecycle and identity.
#include "ADeEsser.h"
#include "IDeEsserPanel.h"
#include "UserFolder.h"

#include <cstring>

const char kDefaultBankFileName[] = "DeEsserDef.fxb";

ADeEsser::ADeEsser(audioMasterCallback audioMaster)
    : AudioEffectX(audioMaster, kNumPrograms, kNumParams)
{
    pluginFolder[0] = 0;
    GetMy_SHFOLDER_PathName();

    numPrograms = kNumPrograms;
    cEffect.numPrograms = kNumPrograms;
    curProgram = 0;

    // Parameter defaults are those of a fresh program: on, 0 dB gains,
    // threshold 0 dB, ratio 1, attack 0 ms, release 0.01 s, key band 4-8 kHz,
    // side-chain and auto threshold on.
    const ADeEsserProgram defaults;
    for (int i = 0; i <= kParamHiFreq; ++i)
        m_NormValue[i] = defaults.values[i];
    m_InternalValue[kParamSideChain] = 1.f;
    m_InternalValue[kParamAutoThreshold] = 1.f;
    m_InternalValue[kParamThreshold] = 0.f;
    m_InternalValue[kParamRatio] = 1.f;
    m_InternalValue[kParamAttack] = 0.f;
    m_InternalValue[kParamRelease] = 0.01f;
    m_InternalValue[kParamOutput] = 0.f;
    m_InternalValue[kParamInput] = 0.f;
    m_InternalValue[kParamLowFreq] = 4000.f;
    m_InternalValue[kParamHiFreq] = 8000.f;
    m_Listen = false;
    m_UseRms = 0.f;

    m_WaveFormat = FloatFormat(44100);
    m_BlockSize = 256;

    setBlockSize(256);
    setSampleRate((float)m_WaveFormat.nSamplesPerSec);

    m_UseRms = 0.f;
    m_OutputGain = 1.f;

    setNumInputs(2);
    setNumOutputs(2);
    setUniqueID(kDeEsserUniqueID);
    programsAreChunks(true);
    canMono(true);

    setEditor(CreateDeEsserEditor(this));

    m_InputPeak[0] = m_InputPeak[1] = 0.f;
    m_OutputPeak[0] = m_OutputPeak[1] = 0.f;
    m_BlockCounters.store(0xFFFFFFFFu);

    resume();
}

ADeEsser::~ADeEsser()
{
    // The editor goes first: its panel may still call back into the effect.
    delete editor;
    editor = nullptr;
}

IDeEsserPanel* ADeEsser::GetPanel()
{
    return editor ? static_cast<IDeEsserEditor*>(editor)->GetPanel() : nullptr;
}

void ADeEsser::notifyHost(VstInt32 opcode, VstInt32 index, float value)
{
    callHost(opcode, index, 0, nullptr, value);
}

void ADeEsser::open()
{
    setProgram(0);
    std::memcpy(initialPrograms, programs, sizeof(programs));
    LoadDefaultBank();
}

void ADeEsser::resume()
{
    m_Comp.set_Activate(1.f);
    m_CompRms.set_Activate(1.f);
    {
        CSingleLock lock(m_Lock); // the audio thread reads the switch per block
        m_NormValue[kParamOnOff] = 1.f;
    }
    if (IDeEsserPanel* panel = GetPanel())
        panel->UpdateControl(kParamOnOff, 1.f);
    AudioEffectX::resume();
}

void ADeEsser::suspend()
{
    m_Comp.set_Activate(0.f);
    m_CompRms.set_Activate(0.f);
    m_Comp.initRuntime();
    m_CompRms.initRuntime();
    {
        CSingleLock lock(m_Lock);
        m_NormValue[kParamOnOff] = 0.f;
    }
    if (IDeEsserPanel* panel = GetPanel())
        panel->UpdateControl(kParamOnOff, 0.f);
}

VstInt32 ADeEsser::startProcess()
{
    m_Comp.initRuntime();
    m_CompRms.initRuntime();
    return 0;
}

bool ADeEsser::getEffectName(char* name)
{
    std::strcpy(name, "Comp2");
    return true;
}

bool ADeEsser::getProductString(char* text)
{
    std::strcpy(text, "Comp2");
    return true;
}

bool ADeEsser::getVendorString(char* text)
{
    std::strcpy(text, "KORVAINE Co.,Ltd.");
    return true;
}

VstIntPtr ADeEsser::vendorSpecific(VstInt32 index, VstIntPtr value, void* ptr, float opt)
{
    // The host's display scale: index 'PreS', value 'AeCs', the scale in opt.
    const VstInt32 kPreS = ('P' << 24) | ('r' << 16) | ('e' << 8) | 'S';
    const VstIntPtr kAeCs = ('A' << 24) | ('e' << 16) | ('C' << 8) | 's';
    if (index == kPreS && value == kAeCs && editor)
    {
        static_cast<IDeEsserEditor*>(editor)->SetScale(opt);
        return 1;
    }
    return AudioEffectX::vendorSpecific(index, value, ptr, opt);
}

VstInt32 ADeEsser::canDo(char* text)
{
    // clang-format off
    static const struct { const char* text; VstInt32 answer; } kAnswers[] = {
        {"sendVstEvents", -1},
        {"sendVstMidiEvent", -1},
        {"receiveVstEvents", -1},
        {"receiveVstMidiEvent", -1},
        {"receiveVstTimeInfo", -1},
        {"offline", -1},
        {"midiProgramNames", -1},
        {"bypass", 1},
    };
    // clang-format on
    if (!text)
        return 0;
    for (const auto& a : kAnswers)
        if (std::strcmp(text, a.text) == 0)
            return a.answer;
    return 0;
}
