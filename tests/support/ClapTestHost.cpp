#include "ClapTestHost.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <dlfcn.h>
#include <thread>

namespace
{
const std::thread::id g_MainThread = std::this_thread::get_id();
const ClapEventList g_NoEvents;

ClapTestHost* Self(const clap::Host* host)
{
    return static_cast<ClapTestHost*>(host->hostData);
}
} // namespace

ClapEventList::ClapEventList()
{
    m_List.ctx = this;
    m_List.size = [](const clap::InputEvents* l)
    { return (uint32_t) static_cast<ClapEventList*>(l->ctx)->m_Events.size(); };
    m_List.get = [](const clap::InputEvents* l, uint32_t i) -> const clap::EventHeader*
    {
        auto& events = static_cast<ClapEventList*>(l->ctx)->m_Events;
        return i < events.size() ? &events[i].header : nullptr;
    };
}

void ClapEventList::Add(uint32_t time, clap::Id paramId, double value)
{
    clap::EventParamValue e{}; // by field names: as laid out in ClapAbi.h
    e.header = {sizeof(e), time, clap::kCoreEventSpace, clap::kEventParamValue, 0};
    e.paramId = paramId;
    e.noteId = e.portIndex = e.channel = e.key = -1;
    e.value = value;
    m_Events.push_back(e);
}

ClapTestHost::ClapTestHost(const std::string& path)
{
    void (*noop)(const clap::Host*) = [](const clap::Host*) {};
    m_Host = {clap::kVersion, this, "test", "tests", "", "1", &GetExtension, noop, noop, noop};
    m_Out.ctx = this;
    m_Out.tryPush = [](const clap::OutputEvents* list, const clap::EventHeader* event)
    {
        // Value and gesture events both start with the header and the id.
        const auto* v = reinterpret_cast<const clap::EventParamValue*>(event);
        const bool value = event->type == clap::kEventParamValue;
        static_cast<ClapTestHost*>(list->ctx)->outEvents.push_back(
            {event->type, v->paramId, value ? v->value : 0.0});
        return true;
    };
    m_Library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_Library)
        return;
    m_Entry = static_cast<const clap::PluginEntry*>(dlsym(m_Library, "clap_entry"));
    if (m_Entry && clap::IsCompatible(m_Entry->clapVersion))
        m_Initialised = m_Entry->init(path.c_str());
}

ClapTestHost::~ClapTestHost()
{
    Destroy();
    if (m_Initialised)
        m_Entry->deinit();
    if (m_Library)
        dlclose(m_Library);
}

const clap::PluginFactory* ClapTestHost::Factory() const
{
    if (!m_Initialised)
        return nullptr;
    return static_cast<const clap::PluginFactory*>(m_Entry->getFactory(clap::kPluginFactoryId));
}

const clap::Plugin* ClapTestHost::Create()
{
    const clap::PluginFactory* factory = Factory();
    if (!factory || factory->getPluginCount(factory) == 0)
        return nullptr;
    m_Plugin =
        factory->createPlugin(factory, &m_Host, factory->getPluginDescriptor(factory, 0)->id);
    if (m_Plugin && !m_Plugin->init(m_Plugin))
        Destroy();
    return m_Plugin;
}

void ClapTestHost::Destroy()
{
    if (m_Plugin)
        m_Plugin->destroy(m_Plugin);
    m_Plugin = nullptr;
}

clap::ProcessStatus ClapTestHost::Process(const float* inL, const float* inR, float* outL,
                                          float* outR, uint32_t frames, const ClapEventList* events)
{
    float* in[2] = {const_cast<float*>(inL), const_cast<float*>(inR)};
    float* out[2] = {outL, outR};
    clap::AudioBuffer inBuf{in, nullptr, 2, 0, 0};
    clap::AudioBuffer outBuf{out, nullptr, 2, 0, 0};
    const clap::Process p{
        -1, frames, nullptr, &inBuf, &outBuf, 1, 1, (events ? events : &g_NoEvents)->Get(), &m_Out};
    inAudioThread = true;
    const clap::ProcessStatus status = m_Plugin->process(m_Plugin, &p);
    inAudioThread = false;
    return status;
}

void ClapTestHost::Flush(const ClapEventList* events)
{
    Ext<clap::PluginParams>(clap::kExtParams)
        ->flush(m_Plugin, (events ? events : &g_NoEvents)->Get(), &m_Out);
}

double ClapTestHost::Value(clap::Id id) const
{
    double v = NAN;
    return Ext<clap::PluginParams>(clap::kExtParams)->getValue(m_Plugin, id, &v) ? v : NAN;
}

std::vector<uint8_t> ClapTestHost::SaveState() const
{
    std::vector<uint8_t> bytes;
    clap::OutputStream out{&bytes, [](const clap::OutputStream* s, const void* data, uint64_t n)
                           {
                               auto* v = static_cast<std::vector<uint8_t>*>(s->ctx);
                               n = std::min<uint64_t>(n, 100);
                               v->insert(v->end(), (const uint8_t*)data, (const uint8_t*)data + n);
                               return (int64_t)n;
                           }};
    if (!Ext<clap::PluginState>(clap::kExtState)->save(m_Plugin, &out))
        bytes.clear();
    return bytes;
}

bool ClapTestHost::LoadState(const std::vector<uint8_t>& bytes) const
{
    std::pair<const std::vector<uint8_t>*, size_t> reader{&bytes, 0};
    clap::InputStream in{&reader, [](const clap::InputStream* s, void* data, uint64_t n)
                         {
                             auto* r = static_cast<decltype(reader)*>(s->ctx);
                             n = std::min<uint64_t>({n, 100, r->first->size() - r->second});
                             std::memcpy(data, r->first->data() + r->second, n);
                             r->second += n;
                             return (int64_t)n;
                         }};
    return Ext<clap::PluginState>(clap::kExtState)->load(m_Plugin, &in);
}

void ClapTestHost::RunMainLoop(int milliseconds)
{
    for (int waited = 0; waited < milliseconds; waited += 10)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        for (const auto& timer : std::map<clap::Id, uint32_t>(timers)) // may change meanwhile
            if (timers.count(timer.first))
            {
                Ext<clap::PluginTimerSupport>(clap::kExtTimerSupport)
                    ->onTimer(m_Plugin, timer.first);
                ++timerCalls;
            }
    }
}

const void* ClapTestHost::GetExtension(const clap::Host* host, const char* id)
{
    static const clap::HostThreadCheck threadCheck{
        [](const clap::Host*) { return std::this_thread::get_id() == g_MainThread; },
        [](const clap::Host* h) { return Self(h)->inAudioThread; }};
    static const clap::HostParams params{
        [](const clap::Host* h, uint32_t flags)
        { Self(h)->valueRescans += flags & clap::kParamRescanValues ? 1 : 0; },
        nullptr, [](const clap::Host* h) { ++Self(h)->flushRequests; }};
    static const clap::HostTimerSupport timers{
        [](const clap::Host* h, uint32_t period, clap::Id* timer)
        {
            *timer = Self(h)->m_NextTimer++;
            Self(h)->timers[*timer] = period;
            return true;
        },
        [](const clap::Host* h, clap::Id timer) { return Self(h)->timers.erase(timer) == 1; }};
    static const clap::HostPosixFdSupport fdSupport{
        [](const clap::Host* h, int fd, uint32_t flags)
        { return Self(h)->fds.emplace(fd, flags).second; },
        nullptr, [](const clap::Host* h, int fd) { return Self(h)->fds.erase(fd) == 1; }};

    const std::pair<const char*, const void*> table[] = {
        {clap::kExtThreadCheck, &threadCheck},
        {clap::kExtParams, &params},
        {clap::kExtTimerSupport, Self(host)->offerTimers ? &timers : nullptr},
        {clap::kExtPosixFdSupport, &fdSupport}};
    for (const auto& [name, ext] : table)
        if (id && std::strcmp(id, name) == 0)
            return ext;
    return nullptr;
}
