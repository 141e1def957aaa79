// CClapDeEsser: one CLAP plug-in instance. It owns one effect driven as a VST
// host drives it (CWrappedEffect) and offers the host its audio ports,
// parameters in display units, state, latency and editor.
//
// Host parameter events are applied inside process() at their sample
// offsets (the block is split at each one), or by flush() when not
// processing. Edits made in the panel travel the other way: the wrapper's
// listener calls queue gesture-begin, value and gesture-end events, and the
// host is asked to flush them out.
//
// Threads (the host's thread-check is respected: a main-thread call made on
// another thread is refused): init, destroy, activate, deactivate, the
// parameter queries, state, the editor, timers and descriptors on the main
// thread; start/stop processing, reset and process on the audio thread;
// flush on the audio thread while active, else on the main thread. The
// listener calls arrive on the main (UI) thread.
#pragma once

#include "CClapEditor.h"
#include "CClapOutQueue.h"
#include "CWrappedEffect.h"
#include "ClapExtensions.h"
#include "IWrapperListener.h"
#include "ParamTable.h"

#include <cstdint>
#include <memory>
#include <string>

class CClapDeEsser : public IWrapperListener
{
public:
    static const clap::PluginDescriptor& Descriptor();

    CClapDeEsser(const clap::Host* host, std::string bundleFolder);
    ~CClapDeEsser() override;

    const clap::Plugin* Plugin() const { return &m_Plugin; }
    static CClapDeEsser* From(const clap::Plugin* plugin);

    bool OnMainThread() const;
    const clap::Host* Host() const { return m_Host; }
    CWrappedEffect& Wrapped() { return *m_pEffect; }
    CClapEditor* Editor() { return m_pEditor.get(); }
    // Ends the gestures the panel opened: those whose parameter it left alone
    // for a while (knob drags report values only, no end), or all of them
    // when the panel goes. Main thread, from the editor.
    void EndGestures(bool onlyQuiet);

    // IWrapperListener (main thread)
    void OnBeginEdit(int index) override;
    void OnParamEdited(int index, float normalised) override;
    void OnEndEdit(int index) override;
    void OnUpdateDisplay() override;

private:
    // clap::Plugin
    bool Init();
    bool Activate(double sampleRate, uint32_t minFrames, uint32_t maxFrames);
    void Deactivate();
    clap::ProcessStatus Process(const clap::Process* process);
    const void* GetExtension(const char* id) const;
    // params
    bool GetParamInfo(uint32_t index, clap::ParamInfo* info) const;
    void Flush(const clap::InputEvents* in, const clap::OutputEvents* out);
    // state
    bool SaveState(const clap::OutputStream* stream);
    bool LoadState(const clap::InputStream* stream);

    void ApplyEvent(const clap::EventHeader* event);
    void SendQueued(const clap::OutputEvents* out);
    void Queue(uint16_t type, int index, double value = 0.0);
    void RescanValues();
    void RescanIfPowerChanged(float before);

    static const clap::PluginAudioPorts s_AudioPorts;
    static const clap::PluginParams s_Params;
    static const clap::PluginState s_State;
    static const clap::PluginLatency s_Latency;

    clap::Plugin m_Plugin{};
    const clap::Host* m_Host;
    const clap::HostThreadCheck* m_pThreadCheck = nullptr;
    const clap::HostParams* m_pHostParams = nullptr;
    const clap::HostState* m_pHostState = nullptr;
    std::string m_Folder;
    std::unique_ptr<CWrappedEffect> m_pEffect;
    float m_Defaults[kNumParams] = {}; // display values right after init
    CClapOutQueue m_Out;
    // Per parameter: gesture open, and when the panel last changed it (ms).
    bool m_GestureOpen[kNumParams] = {};
    int64_t m_LastEditMs[kNumParams] = {};
    std::unique_ptr<CClapEditor> m_pEditor;
};
