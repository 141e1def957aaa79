// ADeEsser: the effect. Owns the parameter storage, the three program banks,
// both compressors, the shelving filters, the two key filter processors, the
// work buffers and the editor.
//
// Threads: processReplacing/processDoubleReplacing run on the audio thread
// under m_Lock for a whole block. Everything else runs on the dispatcher/UI
// thread, except setParameter, which a host may also call from its audio
// thread. Lock order: m_Lock, then a compressor or filter processor, then a
// Butterworth filter. No lock is held across a call to the host or the panel.
#pragma once

#include "AudioEffectX.h"
#include "ADeEsserProgram.h"
#include "CBiquadFilter.h"
#include "CCriticalSection.h"
#include "CString.h"
#include "CVRXComp.h"
#include "CVRXCompRms.h"
#include "CVRXLPF.h"
#include "ParamTable.h"
#include "WaveFormat.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

class IDeEsserEditor;
class IDeEsserPanel;

constexpr VstInt32 kDeEsserUniqueID = VstFourCC('I', 'D', 'e', 'E');
extern const char kDefaultBankFileName[]; // "DeEsserDef.fxb"

class ADeEsser : public AudioEffectX
{
public:
    explicit ADeEsser(audioMasterCallback audioMaster);
    ~ADeEsser() override;
    ADeEsser(const ADeEsser&) = delete;
    ADeEsser& operator=(const ADeEsser&) = delete;

    // Lifecycle (dispatcher thread)
    void open() override;
    void suspend() override;
    void resume() override;
    VstInt32 startProcess() override;

    // Identity
    bool getEffectName(char* name) override;
    bool getProductString(char* text) override;
    bool getVendorString(char* text) override;
    VstInt32 getVendorVersion() override { return 1000; }
    VstInt32 getPlugCategory() override { return kPlugCategEffect; }
    VstInt32 canDo(char* text) override;
    // 'PreS' / 'AeCs' with the host's display scale in opt: handed to the
    // editor (accepted although canDo does not announce it).
    VstIntPtr vendorSpecific(VstInt32 index, VstIntPtr value, void* ptr, float opt) override;

    // Parameters, read side
    float getParameter(VstInt32 index) override;
    void getParameterName(VstInt32 index, char* text) override;
    void getParameterLabel(VstInt32 index, char* text) override;
    void getParameterDisplay(VstInt32 index, char* text) override;
    float getParameterDisplayVal(int index);
    bool getParameterProperties(VstInt32 index, VstParameterProperties* p) override;

    // Parameters, the three write paths: host (normalised), panel controls
    // (normalised, tells the host), typed values (display units, tells both).
    void setParameter(VstInt32 index, float value) override;
    void setParameterFormUI(int index, float value);
    void setParameterFromDiaplay(int index, float value);

    // Audio (audio thread) and its set-up (dispatcher thread)
    void setSampleRate(float rate) override;
    void setBlockSize(VstInt32 size) override;
    void processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames) override;
    void processDoubleReplacing(double** inputs, double** outputs, VstInt32 sampleFrames) override;
    void CalcEQCoef();
    void CalcEQCoefFreq1();
    void CalcEQCoefFreq2();

    // Metering (UI thread)
    void GetVU(float* inL, float* inR, float* outL, float* outR);
    void GetReductionVU(float* value);
    bool GetClip() { return false; }
    void SetListen(bool listen);
    bool GetListen() const { return m_Listen; }
    // Low half: level counter, high half: reduction counter; read without a lock.
    uint32_t GetBlockCounters() const { return m_BlockCounters.load(std::memory_order_relaxed); }

    // Programs
    void setProgram(VstInt32 program) override;
    void setProgramName(char* name) override;
    void getProgramName(char* name) override;
    bool getProgramNameIndexed(VstInt32 category, VstInt32 index, char* text) override;
    bool IsProgramChanged();
    void ProgramToInitial();
    void ProgramToAllInitial();
    void ProgramToFactory();
    void ProgramToAllFactory();
    void CopyPgFrom(int source);
    void SaveProgram(int destination, CString name);
    VstInt32 getChunk(void** data, bool isPreset = false) override;
    VstInt32 setChunk(void* data, VstInt32 byteSize, bool isPreset = false) override;
    void SetFactoryProgram();
    void Convert();

    // Read access for the editor and tests.
    const ADeEsserProgram& GetProgram(int index) const { return programs[index]; }
    const ADeEsserProgram& GetInitialProgram(int index) const { return initialPrograms[index]; }
    const ADeEsserProgram& GetFactoryProgram(int index) const { return factoryPrograms[index]; }
    float GetOutputGain() const { return m_OutputGain; }
    const CVRXComp& GetComp() const { return m_Comp; }
    const CVRXCompRms& GetCompRms() const { return m_CompRms; }
    float GetInternalValue(int index) const;
    const char* GetPluginFolder() const { return pluginFolder; }
    IDeEsserPanel* GetPanel();

    // Used by the legacy import with other paths than the fixed ones.
    void ConvertFrom(const char* listPath, const char* programFolder);

private:
    void storeParam(int index, float normalised, float internal);
    void setParameterWork(int index, float value, bool fromPanel);
    void applyKnob(int index, float internal, float attack);
    void processBlock(float** in, float** out, int n);
    void allocateBuffers(int size);
    void calcBandEdge(int param, CBiquadFilter (&highShelf)[2], CBiquadFilter (&lowShelf)[2],
                      CVRXLPF& key);
    void resetBadStates();
    void notifyHost(VstInt32 opcode, VstInt32 index = 0, float value = 0.f);
    bool hostMisreadsIntegerRange(); // asks the host's names once
    // Persistence helpers (ADeEsserPersistence.cpp).
    void LoadDefaultBank(); // the bank-file part of open()
    std::string findPluginFolder();
    bool loadBankFile(const char* path, ADeEsserProgram* target, bool applyAsChunk);
    bool writeBankFile(const char* path);
    void reportSaveFailure();

    ADeEsserProgram programs[kNumPrograms];
    CVRXComp m_Comp;
    CVRXCompRms m_CompRms;
    CBiquadFilter m_LowFreqHighShelf[2];
    CBiquadFilter m_LowFreqLowShelf[2];
    CBiquadFilter m_HiFreqHighShelf[2];
    CBiquadFilter m_HiFreqLowShelf[2];
    CVRXLPF m_HighCutLPF{true}; // low-pass at HiFreq
    CVRXLPF m_LowCutLPF{false}; // high-pass at LowFreq
    ADeEsserProgram initialPrograms[kNumPrograms];
    ADeEsserProgram factoryPrograms[kNumPrograms];
    CCriticalSection m_Lock;
    char pluginFolder[2048];

    // Work buffers, one per channel, m_BlockSize samples each, all in m_Work.
    std::unique_ptr<float[]> m_Work;
    float* m_MidBuf[2] = {nullptr, nullptr};  // first filter stage
    float* m_KeyBuf[2] = {nullptr, nullptr};  // key / middle band
    float* m_LowBuf[2] = {nullptr, nullptr};  // low band
    float* m_CompBuf[2] = {nullptr, nullptr}; // compressed band
    float* m_HighBuf[2] = {nullptr, nullptr}; // high band

    std::atomic<uint32_t> m_BlockCounters{0xFFFFFFFFu};
    bool m_Listen = false;
    float m_NormValue[kNumNormParams] = {};
    float m_InternalValue[kNumParams] = {};
    WAVEFORMATEX m_WaveFormat{};
    int m_BlockSize = 0;
    float m_UseRms = 0.f;
    float m_InputPeak[2] = {0.f, 0.f};
    float m_OutputPeak[2] = {0.f, 0.f};
    float m_OutputGain = 1.f;
    int m_HostMisreadsIntegerRange = -1; // -1: not asked yet
};
