// A small CLAP host for tests and benchmarks: loads a .clap through
// "clap_entry" alone and records what the plug-in asks of the host.
// Processing runs on the calling thread, marked as the audio thread.
#pragma once

#include "ClapExtensions.h"

#include <map>
#include <string>
#include <vector>

// An event the plug-in sent to the host.
struct ClapOutEvent
{
    uint16_t type;
    clap::Id paramId;
    double value; // parameter value events only
};

// Host-to-plug-in parameter changes for one call; added in time order.
class ClapEventList
{
public:
    ClapEventList();
    void Add(uint32_t time, clap::Id paramId, double value);
    const clap::InputEvents* Get() const { return &m_List; }

private:
    std::vector<clap::EventParamValue> m_Events;
    clap::InputEvents m_List;
};

class ClapTestHost
{
public:
    explicit ClapTestHost(const std::string& path); // dlopen, clap_entry, init
    ~ClapTestHost();                                // destroys the plug-in, deinit, dlclose

    const clap::PluginFactory* Factory() const;
    // Creates and inits the factory's first plug-in; null on refusal.
    const clap::Plugin* Create();
    void Destroy();
    const clap::Plugin* Plugin() const { return m_Plugin; }

    template <class T> const T* Ext(const char* id) const
    {
        return static_cast<const T*>(m_Plugin->getExtension(m_Plugin, id));
    }

    // Runs process() on stereo buffers (out may equal in: in-place).
    clap::ProcessStatus Process(const float* inL, const float* inR, float* outL, float* outR,
                                uint32_t frames, const ClapEventList* events = nullptr);
    void Flush(const ClapEventList* events = nullptr);

    double Value(clap::Id id) const; // params.get_value; NaN on refusal
    // The state streams move at most 100 bytes a call: plug-ins must loop.
    std::vector<uint8_t> SaveState() const; // empty on refusal
    bool LoadState(const std::vector<uint8_t>& bytes) const;

    // Runs the main loop for a while, every timer every 10 ms. Descriptors
    // are only registered: the timers pump the editor as well.
    void RunMainLoop(int milliseconds);

    std::vector<ClapOutEvent> outEvents;
    int flushRequests = 0;
    int valueRescans = 0;
    std::map<clap::Id, uint32_t> timers; // id -> period in ms
    std::map<int, uint32_t> fds;         // fd -> flags
    int timerCalls = 0;
    bool offerTimers = true; // whether the host offers timer-support
    bool inAudioThread = false;

private:
    static const void* GetExtension(const clap::Host* host, const char* id);

    void* m_Library = nullptr;
    const clap::PluginEntry* m_Entry = nullptr;
    bool m_Initialised = false;
    const clap::Plugin* m_Plugin = nullptr;
    clap::Host m_Host{};
    clap::OutputEvents m_Out{};
    clap::Id m_NextTimer = 1;
};
