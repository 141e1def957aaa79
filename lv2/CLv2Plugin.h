// CLv2Plugin: one LV2 instance of the effect. Control ports are in display
// units; a port value that differs from the value the effect already shows
// is stored through the parameter table's mappings. The bank travels in the
// state extension as one atom:Chunk property (the VST bank chunk bytes).
//
// Threads: Run on the audio thread; Activate, Deactivate and RestoreState on
// the host's main thread, never during Run; SaveState on the main thread,
// also during Run (it copies the bank as a VST host's effGetChunk does); the
// editor (CLv2Ui) reaches Wrapped() from the UI thread.
#pragma once

#include <lv2/core/lv2.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>

#include "CWrappedEffect.h"
#include "Lv2Ports.h"

class CLv2Plugin
{
public:
    CLv2Plugin(double sampleRate, const char* bundlePath, const LV2_Feature* const* features);

    void Connect(uint32_t port, void* data);
    void Activate();
    void Deactivate();
    void Run(uint32_t frames);

    LV2_State_Status SaveState(LV2_State_Store_Function store, LV2_State_Handle handle);
    LV2_State_Status RestoreState(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle);

    CWrappedEffect& Wrapped() { return m_Effect; }

private:
    void ApplyControlPorts();
    void ForgetControlPorts();
    void WriteMeters();

    CWrappedEffect m_Effect;
    double m_SampleRate;
    int m_MaxBlock = 0;           // from the host's options, else the wrapper's own
    bool m_bStartPending = false; // activated; the effect starts at the first block
    LV2_URID m_BankKey = 0;       // 0 without urid:map: no state then
    LV2_URID m_ChunkType = 0;
    float* m_Ports[kPortCount] = {};
    float m_LastControl[kNumParams]; // port values last seen, NaN: not yet
};
