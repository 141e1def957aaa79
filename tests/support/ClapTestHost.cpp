// The test CLAP host: loader, host record with its extensions, event lists,
// process and state helpers, and a small main loop for timers and descriptors.
#include "ClapTestHost.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <dlfcn.h>
#include <poll.h>
#include <thread>

namespace
{
std::thread::id g_MainThread = std::this_thread::get_id();
} // namespace

ClapEventList::ClapEventList()
{
    m_List.ctx = this;
    m_List.size = &ClapEventList::Size;
    m_List.get = &ClapEventList::At;
}

void ClapEventList::Add(uint32_t time, clap::Id paramId, double value)
{
    clap::EventParamValue e{};
    e.header = {sizeof(e), time, clap::kCoreEventSpace, clap::kEventParamValue, 0};
    e.paramId = paramId;
    e.noteId = -1;
    e.portIndex = e.channel = e.key = -1;
    e.value = value;
    auto at = std::upper_bound(m_Events.begin(), m_Events.end(), time,
                               [](uint32_t t, const clap::EventParamValue& x)
                               { return t < x.header.time; });
    m_Events.insert(at, e);
}

uint32_t ClapEventList::Size(const clap::InputEvents* list)
{
    return (uint32_t) static_cast<ClapEventList*>(list->ctx)->m_Events.size();
}

const clap::EventHeader* ClapEventList::At(const clap::InputEvents* list, uint32_t index)
{
    auto& events = static_cast<ClapEventList*>(list->ctx)->m_Events;
    return index < events.size() ? &events[index].header : nullptr;
}

ClapTestHost::ClapTestHost(const std::string& path)
{
    m_Host.clapVersion = clap::kVersion;
    m_Host.hostData = this;
    m_Host.name = "clap-test-host";
    m_Host.vendor = "tests";
    m_Host.url = "";
    m_Host.version = "1";
    m_Host.getExtension = &ClapTestHost::GetExtension;
    m_Host.requestRestart = [](const clap::Host*) {};
    m_Host.requestProcess = [](const clap::Host*) {};
    m_Host.requestCallback = [](const clap::Host*) {};
    m_Out.ctx = this;
    m_Out.tryPush = &ClapTestHost::PushOut;

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
    static const ClapEventList none;
    float* in[2] = {const_cast<float*>(inL), const_cast<float*>(inR)};
    float* out[2] = {outL, outR};
    clap::AudioBuffer inBuf{in, nullptr, 2, 0, 0};
    clap::AudioBuffer outBuf{out, nullptr, 2, 0, 0};
    clap::Process p{};
    p.steadyTime = -1;
    p.framesCount = frames;
    p.audioInputs = &inBuf;
    p.audioOutputs = &outBuf;
    p.audioInputsCount = p.audioOutputsCount = 1;
    p.inEvents = (events ? events : &none)->Get();
    p.outEvents = &m_Out;
    inAudioThread = true;
    clap::ProcessStatus status = m_Plugin->process(m_Plugin, &p);
    inAudioThread = false;
    return status;
}

void ClapTestHost::Flush(const ClapEventList* events)
{
    static const ClapEventList none;
    auto params = Ext<clap::PluginParams>(clap::kExtParams);
    params->flush(m_Plugin, (events ? events : &none)->Get(), &m_Out);
}

double ClapTestHost::Value(clap::Id id) const
{
    double v = NAN;
    auto params = Ext<clap::PluginParams>(clap::kExtParams);
    return params->getValue(m_Plugin, id, &v) ? v : NAN;
}

std::vector<uint8_t> ClapTestHost::SaveState() const
{
    std::vector<uint8_t> bytes;
    clap::OutputStream out{&bytes, [](const clap::OutputStream* s, const void* data, uint64_t n)
                           {
                               auto* v = static_cast<std::vector<uint8_t>*>(s->ctx);
                               // Accept at most 100 bytes a call: plug-ins must loop.
                               n = std::min<uint64_t>(n, 100);
                               v->insert(v->end(), (const uint8_t*)data, (const uint8_t*)data + n);
                               return (int64_t)n;
                           }};
    auto state = Ext<clap::PluginState>(clap::kExtState);
    if (!state->save(m_Plugin, &out))
        bytes.clear();
    return bytes;
}

bool ClapTestHost::LoadState(const std::vector<uint8_t>& bytes) const
{
    struct Reader
    {
        const std::vector<uint8_t>* bytes;
        size_t pos;
    } reader{&bytes, 0};
    clap::InputStream in{&reader, [](const clap::InputStream* s, void* data, uint64_t n)
                         {
                             auto* r = static_cast<Reader*>(s->ctx);
                             // Hand out at most 100 bytes a call: plug-ins must loop.
                             n = std::min<uint64_t>({n, 100, r->bytes->size() - r->pos});
                             std::memcpy(data, r->bytes->data() + r->pos, n);
                             r->pos += n;
                             return (int64_t)n;
                         }};
    auto state = Ext<clap::PluginState>(clap::kExtState);
    return state->load(m_Plugin, &in);
}

int ClapTestHost::RunMainLoop(int milliseconds)
{
    using Clock = std::chrono::steady_clock;
    auto timerExt = Ext<clap::PluginTimerSupport>(clap::kExtTimerSupport);
    auto fdExt = Ext<clap::PluginPosixFdSupport>(clap::kExtPosixFdSupport);
    const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
    std::map<clap::Id, Clock::time_point> due;
    int fdCalls = 0;
    while (Clock::now() < end)
    {
        std::vector<pollfd> polled;
        for (auto& [fd, flags] : fds)
            polled.push_back({fd,
                              (short)((flags & clap::kFdRead ? POLLIN : 0) |
                                      (flags & clap::kFdWrite ? POLLOUT : 0)),
                              0});
        poll(polled.data(), polled.size(), 5);
        for (const pollfd& p : polled)
            if (p.revents && fds.count(p.fd))
            {
                uint32_t flags = 0;
                if (p.revents & POLLIN)
                    flags |= clap::kFdRead;
                if (p.revents & POLLOUT)
                    flags |= clap::kFdWrite;
                if (p.revents & (POLLERR | POLLHUP))
                    flags |= clap::kFdError;
                fdExt->onFd(m_Plugin, p.fd, flags);
                ++fdCalls;
            }
        const auto now = Clock::now();
        for (auto [id, period] : std::map<clap::Id, uint32_t>(timers))
        {
            auto& next = due[id];
            if (next <= now && timers.count(id))
            {
                next = now + std::chrono::milliseconds(period);
                timerExt->onTimer(m_Plugin, id);
                ++timerCalls;
            }
        }
    }
    return fdCalls;
}

ClapTestHost* ClapTestHost::Self(const clap::Host* host)
{
    return static_cast<ClapTestHost*>(host->hostData);
}

bool ClapTestHost::PushOut(const clap::OutputEvents* list, const clap::EventHeader* event)
{
    auto* self = static_cast<ClapTestHost*>(list->ctx);
    ClapOutEvent e{event->type, event->time, clap::kInvalidId, 0.0};
    if (event->type == clap::kEventParamValue)
    {
        auto* v = reinterpret_cast<const clap::EventParamValue*>(event);
        e.paramId = v->paramId;
        e.value = v->value;
    }
    else if (event->type == clap::kEventParamGestureBegin ||
             event->type == clap::kEventParamGestureEnd)
        e.paramId = reinterpret_cast<const clap::EventParamGesture*>(event)->paramId;
    self->outEvents.push_back(e);
    return true;
}

const void* ClapTestHost::GetExtension(const clap::Host* host, const char* id)
{
    static const clap::HostThreadCheck threadCheck{
        [](const clap::Host*) { return std::this_thread::get_id() == g_MainThread; },
        [](const clap::Host* h) { return Self(h)->inAudioThread; }};
    static const clap::HostParams params{[](const clap::Host* h, uint32_t flags)
                                         {
                                             if (flags & clap::kParamRescanValues)
                                                 ++Self(h)->valueRescans;
                                         },
                                         [](const clap::Host*, clap::Id, uint32_t) {},
                                         [](const clap::Host* h) { ++Self(h)->flushRequests; }};
    static const clap::HostState state{[](const clap::Host*) {}};
    static const clap::HostLatency latency{[](const clap::Host*) {}};
    static const clap::HostGui gui{
        [](const clap::Host*) {}, [](const clap::Host*, uint32_t, uint32_t) { return false; },
        [](const clap::Host*) { return false; }, [](const clap::Host*) { return false; },
        [](const clap::Host*, bool) {}};
    static const clap::HostTimerSupport timers{
        [](const clap::Host* h, uint32_t period, clap::Id* id)
        {
            *id = Self(h)->m_NextTimer++;
            Self(h)->timers[*id] = period;
            return true;
        },
        [](const clap::Host* h, clap::Id id) { return Self(h)->timers.erase(id) == 1; }};
    static const clap::HostPosixFdSupport fdSupport{
        [](const clap::Host* h, int fd, uint32_t flags)
        { return Self(h)->fds.emplace(fd, flags).second; },
        [](const clap::Host* h, int fd, uint32_t flags)
        {
            auto it = Self(h)->fds.find(fd);
            return it != Self(h)->fds.end() && (it->second = flags, true);
        },
        [](const clap::Host* h, int fd) { return Self(h)->fds.erase(fd) == 1; }};

    const std::string name = id ? id : "";
    if (name == clap::kExtThreadCheck)
        return &threadCheck;
    if (name == clap::kExtParams)
        return &params;
    if (name == clap::kExtState)
        return &state;
    if (name == clap::kExtLatency)
        return &latency;
    if (name == clap::kExtGui)
        return &gui;
    if (name == clap::kExtTimerSupport)
        return Self(host)->offerTimers ? &timers : nullptr;
    if (name == clap::kExtPosixFdSupport)
        return &fdSupport;
    return nullptr;
}
