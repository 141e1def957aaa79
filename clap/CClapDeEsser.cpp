#include "CClapDeEsser.h"

#include "ADeEsser.h"
#include "ClapParamText.h"
#include "ParamRange.h"
#include "StateBlob.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#ifndef DEESSER_VERSION
#define DEESSER_VERSION "1.0"
#endif

namespace
{
// The effect's work buffers are sized for this many frames at most; longer
// host blocks are processed in pieces.
constexpr uint32_t kMaxBlock = 16384;
// A gesture the panel opened ends when its parameter rests this long.
constexpr int64_t kGestureQuietMs = 300;

int64_t NowMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

bool IsParam(clap::Id id)
{
    return id < (clap::Id)kNumParams;
}

bool IsStereo(const clap::AudioBuffer* b)
{
    return b && b->data32 && b->channelCount >= 2 && b->data32[0] && b->data32[1];
}

const char* const kFeatures[] = {"audio-effect", "stereo", "compressor", nullptr};
} // namespace

const clap::PluginDescriptor& CClapDeEsser::Descriptor()
{
    static const clap::PluginDescriptor descriptor{
        clap::kVersion,  "korvaine.comp2",  "Comp2",  "KORVAINE Co.,Ltd.", "", "", "",
        DEESSER_VERSION, "Stereo de-esser", kFeatures};
    return descriptor;
}

CClapDeEsser* CClapDeEsser::From(const clap::Plugin* plugin)
{
    return static_cast<CClapDeEsser*>(plugin->pluginData);
}

CClapDeEsser::CClapDeEsser(const clap::Host* host, std::string bundleFolder)
    : m_Host(host), m_Folder(std::move(bundleFolder))
{
    for (int i = 0; i < kNumParams; ++i)
        m_Defaults[i] = GetParamRange(i).defaultPlain;
    m_Plugin.desc = &Descriptor();
    m_Plugin.pluginData = this;
    m_Plugin.init = [](const clap::Plugin* p) { return From(p)->Init(); };
    m_Plugin.destroy = [](const clap::Plugin* p) { delete From(p); };
    m_Plugin.activate =
        [](const clap::Plugin* p, double rate, uint32_t minFrames, uint32_t maxFrames)
    { return From(p)->Activate(rate, minFrames, maxFrames); };
    m_Plugin.deactivate = [](const clap::Plugin* p) { From(p)->Deactivate(); };
    m_Plugin.startProcessing = [](const clap::Plugin* p)
    {
        CClapDeEsser* self = From(p);
        if (!self->m_pEffect || !self->m_pEffect->IsActive())
            return false;
        self->m_pEffect->Effect().startProcess();
        return true;
    };
    m_Plugin.stopProcessing = [](const clap::Plugin*) {};
    m_Plugin.reset = [](const clap::Plugin* p)
    {
        // Clears the compressors' envelopes, as a VST host's start of processing does.
        if (CClapDeEsser* self = From(p); self->m_pEffect)
            self->m_pEffect->Effect().startProcess();
    };
    m_Plugin.process = [](const clap::Plugin* p, const clap::Process* process)
    { return From(p)->Process(process); };
    m_Plugin.getExtension = [](const clap::Plugin* p, const char* id)
    { return From(p)->GetExtension(id); };
    m_Plugin.onMainThread = [](const clap::Plugin*) {};
}

CClapDeEsser::~CClapDeEsser()
{
    // The panel goes before the effect that it shows; a host does not flush
    // a plug-in it is destroying.
    m_pHostParams = nullptr;
    m_pEditor.reset();
    m_pEffect.reset();
}

bool CClapDeEsser::OnMainThread() const
{
    return !m_pThreadCheck || m_pThreadCheck->isMainThread(m_Host);
}

bool CClapDeEsser::Init()
{
    if (m_pEffect)
        return false;
    // A host extension with a missing function is taken as absent.
    auto ext = [this](const char* id) { return m_Host->getExtension(m_Host, id); };
    m_pThreadCheck = static_cast<const clap::HostThreadCheck*>(ext(clap::kExtThreadCheck));
    if (m_pThreadCheck && (!m_pThreadCheck->isMainThread || !m_pThreadCheck->isAudioThread))
        m_pThreadCheck = nullptr;
    m_pHostParams = static_cast<const clap::HostParams*>(ext(clap::kExtParams));
    if (m_pHostParams && (!m_pHostParams->rescan || !m_pHostParams->requestFlush))
        m_pHostParams = nullptr;
    m_pHostState = static_cast<const clap::HostState*>(ext(clap::kExtState));
    if (m_pHostState && !m_pHostState->markDirty)
        m_pHostState = nullptr;
    if (!OnMainThread())
        return false;
    try
    {
        m_pEffect = std::make_unique<CWrappedEffect>(m_Folder.c_str());
        m_pEditor = std::make_unique<CClapEditor>(*this);
    }
    catch (const std::bad_alloc&)
    {
        m_pEffect.reset();
        return false;
    }
    m_pEffect->SetListener(this);
    // Opening loaded the default bank: its current program is where every
    // parameter starts, so that is what the host is told the defaults are.
    for (int i = 0; i < kNumParams; ++i)
        m_Defaults[i] = m_pEffect->GetPlain(i);
    return true;
}

bool CClapDeEsser::Activate(double sampleRate, uint32_t /*minFrames*/, uint32_t maxFrames)
{
    if (!m_pEffect || !OnMainThread() || !std::isfinite(sampleRate) || sampleRate <= 0.0)
        return false;
    const float power = m_pEffect->GetPlain(kParamOnOff);
    try
    {
        m_pEffect->Activate(sampleRate,
                            (int)std::min(maxFrames ? maxFrames : kMaxBlock, kMaxBlock));
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
    RescanIfPowerChanged(power);
    return true;
}

void CClapDeEsser::Deactivate()
{
    if (!m_pEffect || !OnMainThread())
        return;
    const float power = m_pEffect->GetPlain(kParamOnOff);
    m_pEffect->Deactivate();
    RescanIfPowerChanged(power);
}

// Mains on and off switch "ON/OFF" in the effect, as under a VST host.
void CClapDeEsser::RescanIfPowerChanged(float before)
{
    if (m_pEffect->GetPlain(kParamOnOff) != before)
        RescanValues();
}

void CClapDeEsser::RescanValues()
{
    if (m_pHostParams && OnMainThread())
        m_pHostParams->rescan(m_Host, clap::kParamRescanValues);
}

clap::ProcessStatus CClapDeEsser::Process(const clap::Process* p)
{
    if (!p || !m_pEffect || !m_pEffect->IsActive())
        return clap::kProcessError;
    const clap::AudioBuffer* in = p->audioInputsCount ? p->audioInputs : nullptr;
    clap::AudioBuffer* out = p->audioOutputsCount ? p->audioOutputs : nullptr;
    const bool audio = IsStereo(in) && IsStereo(out);
    const uint32_t frames = p->framesCount;

    // Runs the effect up to `until`, then the next event applies there.
    uint32_t done = 0;
    auto runUntil = [&](uint32_t until)
    {
        if (until <= done)
            return;
        if (audio)
        {
            const float* blockIn[2] = {in->data32[0] + done, in->data32[1] + done};
            float* blockOut[2] = {out->data32[0] + done, out->data32[1] + done};
            m_pEffect->Process(blockIn, blockOut, (int)(until - done));
        }
        done = until;
    };
    const clap::InputEvents* events = p->inEvents;
    const uint32_t count = events ? events->size(events) : 0;
    for (uint32_t k = 0; k < count; ++k)
        if (const clap::EventHeader* e = events->get(events, k))
        {
            runUntil(std::min(e->time, frames));
            ApplyEvent(e);
        }
    runUntil(frames);

    // Without a stereo pair there is nothing to process: silence out.
    if (!audio && out && out->data32)
        for (uint32_t ch = 0; ch < out->channelCount; ++ch)
            if (out->data32[ch])
                std::fill(out->data32[ch], out->data32[ch] + frames, 0.f);
    SendQueued(p->outEvents);
    return clap::kProcessContinue;
}

void CClapDeEsser::ApplyEvent(const clap::EventHeader* e)
{
    if (e->spaceId != clap::kCoreEventSpace || e->type != clap::kEventParamValue ||
        e->size < sizeof(clap::EventParamValue))
        return;
    const auto* v = reinterpret_cast<const clap::EventParamValue*>(e);
    if (!IsParam(v->paramId) || !std::isfinite(v->value))
        return;
    const ParamRange& r = GetParamRange((int)v->paramId);
    m_pEffect->SetPlain((int)v->paramId,
                        (float)std::clamp(v->value, (double)r.minPlain, (double)r.maxPlain));
}

void CClapDeEsser::Flush(const clap::InputEvents* in, const clap::OutputEvents* out)
{
    if (!m_pEffect)
        return;
    const uint32_t count = in ? in->size(in) : 0;
    for (uint32_t k = 0; k < count; ++k)
        if (const clap::EventHeader* e = in->get(in, k))
            ApplyEvent(e);
    SendQueued(out);
}

void CClapDeEsser::SendQueued(const clap::OutputEvents* out)
{
    CClapOutQueue::Event q;
    while (m_Out.Pop(q))
    {
        if (!out)
            continue;
        const clap::EventHeader header{0, 0, clap::kCoreEventSpace, q.type, clap::kEventIsLive};
        if (q.type == clap::kEventParamValue)
        {
            clap::EventParamValue e{};
            e.header = header;
            e.header.size = sizeof(e);
            e.paramId = q.paramId;
            e.noteId = -1;
            e.portIndex = e.channel = e.key = -1;
            e.value = q.value;
            out->tryPush(out, &e.header);
        }
        else
        {
            clap::EventParamGesture e{header, q.paramId};
            e.header.size = sizeof(e);
            out->tryPush(out, &e.header);
        }
    }
}

// ---------------------------------------------------------------- panel edits

void CClapDeEsser::Queue(uint16_t type, int index, double value)
{
    m_Out.Push({type, (uint32_t)index, value});
    if (m_pHostParams && !(m_pThreadCheck && m_pThreadCheck->isAudioThread(m_Host)))
        m_pHostParams->requestFlush(m_Host);
}

void CClapDeEsser::OnBeginEdit(int index)
{
    if (!IsParam((clap::Id)index) || m_GestureOpen[index])
        return;
    m_GestureOpen[index] = true;
    m_LastEditMs[index] = NowMs();
    Queue(clap::kEventParamGestureBegin, index);
}

void CClapDeEsser::OnParamEdited(int index, float normalised)
{
    if (!IsParam((clap::Id)index))
        return;
    OnBeginEdit(index);
    m_LastEditMs[index] = NowMs();
    Queue(clap::kEventParamValue, index, NormalisedToPlain(index, normalised));
}

void CClapDeEsser::OnEndEdit(int index)
{
    if (!IsParam((clap::Id)index) || !m_GestureOpen[index])
        return;
    m_GestureOpen[index] = false;
    Queue(clap::kEventParamGestureEnd, index);
}

void CClapDeEsser::EndGestures(bool onlyQuiet)
{
    const int64_t now = NowMs();
    for (int i = 0; i < kNumParams; ++i)
        if (m_GestureOpen[i] && (!onlyQuiet || now - m_LastEditMs[i] >= kGestureQuietMs))
            OnEndEdit(i);
}

void CClapDeEsser::OnUpdateDisplay()
{
    // A program was recalled, copied or saved in the panel.
    RescanValues();
    if (m_pHostState && OnMainThread())
        m_pHostState->markDirty(m_Host);
}

// ---------------------------------------------------------------- extensions

const void* CClapDeEsser::GetExtension(const char* id) const
{
    if (!id)
        return nullptr;
    const std::pair<const char*, const void*> table[] = {
        {clap::kExtAudioPorts, &s_AudioPorts},
        {clap::kExtParams, &s_Params},
        {clap::kExtState, &s_State},
        {clap::kExtLatency, &s_Latency},
        {clap::kExtGui, &CClapEditor::s_Gui},
        {clap::kExtTimerSupport, &CClapEditor::s_TimerSupport},
        {clap::kExtPosixFdSupport, &CClapEditor::s_FdSupport},
    };
    for (const auto& [name, ext] : table)
        if (std::strcmp(id, name) == 0)
            return ext;
    return nullptr;
}

const clap::PluginAudioPorts CClapDeEsser::s_AudioPorts{
    [](const clap::Plugin*, bool) -> uint32_t { return 1; },
    [](const clap::Plugin*, uint32_t index, bool isInput, clap::AudioPortInfo* info)
    {
        if (index != 0 || !info)
            return false;
        *info = {};
        info->id = 0;
        std::strcpy(info->name, isInput ? "Stereo In" : "Stereo Out");
        info->flags = clap::kAudioPortIsMain;
        info->channelCount = 2;
        info->portType = clap::kPortStereo;
        info->inPlacePair = 0; // the other direction's port 0
        return true;
    }};

const clap::PluginLatency CClapDeEsser::s_Latency{[](const clap::Plugin*) -> uint32_t
                                                  { return 0; }};

// ---------------------------------------------------------------- parameters

bool CClapDeEsser::GetParamInfo(uint32_t index, clap::ParamInfo* info) const
{
    if (!IsParam(index) || !info)
        return false;
    const ParamRange& r = GetParamRange((int)index);
    *info = {};
    info->id = index;
    // ON/OFF is not the host's bypass: it is on at 1, a bypass is on at 0.
    info->flags = clap::kParamIsAutomatable | (r.toggled ? clap::kParamIsStepped : 0u);
    std::snprintf(info->name, sizeof(info->name), "%s", GetParamName((int)index));
    info->minValue = r.minPlain;
    info->maxValue = r.maxPlain;
    info->defaultValue = m_Defaults[index];
    return true;
}

const clap::PluginParams CClapDeEsser::s_Params{
    [](const clap::Plugin*) -> uint32_t { return kNumParams; },
    [](const clap::Plugin* p, uint32_t index, clap::ParamInfo* info)
    { return From(p)->GetParamInfo(index, info); },
    [](const clap::Plugin* p, clap::Id id, double* value)
    {
        CClapDeEsser* self = From(p);
        if (!IsParam(id) || !value || !self->m_pEffect)
            return false;
        *value = self->m_pEffect->GetPlain((int)id);
        return true;
    },
    [](const clap::Plugin*, clap::Id id, double value, char* text, uint32_t capacity)
    { return IsParam(id) && ClapValueToText((int)id, value, text, capacity); },
    [](const clap::Plugin*, clap::Id id, const char* text, double* value)
    { return IsParam(id) && ClapTextToValue((int)id, text, value); },
    [](const clap::Plugin* p, const clap::InputEvents* in, const clap::OutputEvents* out)
    { From(p)->Flush(in, out); }};

// ---------------------------------------------------------------- state

bool CClapDeEsser::SaveState(const clap::OutputStream* stream)
{
    if (!m_pEffect || !stream || !OnMainThread())
        return false;
    const std::vector<uint8_t> bytes = ::SaveState(m_pEffect->Effect());
    for (size_t done = 0; done < bytes.size();)
    {
        const int64_t n = stream->write(stream, bytes.data() + done, bytes.size() - done);
        if (n <= 0)
            return false;
        done += (size_t)n;
    }
    return !bytes.empty();
}

bool CClapDeEsser::LoadState(const clap::InputStream* stream)
{
    if (!m_pEffect || !stream || !OnMainThread())
        return false;
    // One byte more than a state holds, so that a longer stream shows.
    std::vector<uint8_t> bytes(kStateHeaderSize + kBankChunkSize + 1);
    size_t size = 0;
    while (size < bytes.size())
    {
        const int64_t n = stream->read(stream, bytes.data() + size, bytes.size() - size);
        if (n < 0 || (uint64_t)n > bytes.size() - size)
            return false;
        if (n == 0)
            break;
        size += (size_t)n;
    }
    if (!::LoadState(m_pEffect->Effect(), bytes.data(), size))
        return false;
    RescanValues();
    return true;
}

const clap::PluginState CClapDeEsser::s_State{
    [](const clap::Plugin* p, const clap::OutputStream* s) { return From(p)->SaveState(s); },
    [](const clap::Plugin* p, const clap::InputStream* s) { return From(p)->LoadState(s); }};
