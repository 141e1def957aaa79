#include "CLv2Plugin.h"

#include "ParamRange.h"
#include "StateBlob.h"

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/options/options.h>

#include <cmath>
#include <cstring>

namespace
{
float ToDb(float linear, float ceiling)
{
    if (!(linear > 0.f))
        return kLv2MeterFloorDb;
    const float db = 20.f * std::log10(linear);
    return db < kLv2MeterFloorDb ? kLv2MeterFloorDb : (db > ceiling ? ceiling : db);
}

// The host's largest block, when it says.
int MaxBlockFromOptions(const LV2_Options_Option* options, LV2_URID_Map* map)
{
    if (!options || !map)
        return 0;
    const LV2_URID maxBlock = map->map(map->handle, LV2_BUF_SIZE__maxBlockLength);
    const LV2_URID atomInt = map->map(map->handle, LV2_ATOM__Int);
    for (const LV2_Options_Option* o = options; o->key; ++o)
        if (o->key == maxBlock && o->type == atomInt && o->value && o->size == sizeof(int32_t))
            return *static_cast<const int32_t*>(o->value);
    return 0;
}
} // namespace

CLv2Plugin::CLv2Plugin(double sampleRate, const char* bundlePath,
                       const LV2_Feature* const* features)
    : m_Effect(bundlePath), m_SampleRate(sampleRate)
{
    LV2_URID_Map* map = nullptr;
    const LV2_Options_Option* options = nullptr;
    for (int i = 0; features && features[i]; ++i)
    {
        if (std::strcmp(features[i]->URI, LV2_URID__map) == 0)
            map = static_cast<LV2_URID_Map*>(features[i]->data);
        else if (std::strcmp(features[i]->URI, LV2_OPTIONS__options) == 0)
            options = static_cast<const LV2_Options_Option*>(features[i]->data);
    }
    if (map)
    {
        m_BankKey = map->map(map->handle, DEESSER_LV2_BANK_KEY);
        m_ChunkType = map->map(map->handle, LV2_ATOM__Chunk);
    }
    const int hostMax = MaxBlockFromOptions(options, map);
    m_MaxBlock = hostMax > 0 && hostMax <= 65536 ? hostMax : 0;
    ForgetControlPorts();
}

void CLv2Plugin::Connect(uint32_t port, void* data)
{
    if (port < kPortCount)
        m_Ports[port] = static_cast<float*>(data);
}

void CLv2Plugin::Activate()
{
    m_Effect.Prepare(m_SampleRate, m_MaxBlock);
    m_bStartPending = true;
}

void CLv2Plugin::ForgetControlPorts()
{
    for (float& v : m_LastControl)
        v = NAN;
}

void CLv2Plugin::Deactivate()
{
    m_Effect.Deactivate();
}

void CLv2Plugin::ApplyControlPorts()
{
    for (int i = 0; i < kNumParams; ++i)
    {
        const float* port = m_Ports[kPortFirstControl + i];
        if (!port)
            continue;
        const float value = *port;
        // Bitwise comparison: NaN never equals itself, so a NaN port would be
        // looked at on every block; it is ignored by SetPlain anyway.
        if (std::memcmp(&value, &m_LastControl[i], sizeof(float)) == 0)
            continue;
        m_LastControl[i] = value;
        // A value the effect already shows is not stored again: the panel's
        // own edits come back from the host this way.
        const int index = kLv2ControlOrder[i];
        if (!m_Effect.ShowsPlain(index, value))
            m_Effect.SetPlain(index, value);
    }
}

void CLv2Plugin::WriteMeters()
{
    float in = 0.f, out = 0.f, reduction = 1.f;
    m_Effect.GetMeters(&in, &out, &reduction);
    if (m_Ports[kPortInputLevel])
        *m_Ports[kPortInputLevel] = ToDb(in, kLv2LevelCeilingDb);
    if (m_Ports[kPortOutputLevel])
        *m_Ports[kPortOutputLevel] = ToDb(out, kLv2LevelCeilingDb);
    if (m_Ports[kPortGainReduction])
        *m_Ports[kPortGainReduction] = ToDb(reduction, 0.f);
    if (m_Ports[kPortLatency])
        *m_Ports[kPortLatency] = 0.f;
}

void CLv2Plugin::Run(uint32_t frames)
{
    ApplyControlPorts();
    if (m_bStartPending)
    {
        // As a VST host does: the settings first, then mains on and start.
        // Mains on switches the effect on, so the ports are looked at again.
        m_bStartPending = false;
        m_Effect.Start();
        ForgetControlPorts();
        ApplyControlPorts();
    }
    if (m_Ports[kPortInL] && m_Ports[kPortInR] && m_Ports[kPortOutL] && m_Ports[kPortOutR])
    {
        const float* in[2] = {m_Ports[kPortInL], m_Ports[kPortInR]};
        float* out[2] = {m_Ports[kPortOutL], m_Ports[kPortOutR]};
        m_Effect.Process(in, out, (int)frames);
    }
    WriteMeters();
}

LV2_State_Status CLv2Plugin::SaveState(LV2_State_Store_Function store, LV2_State_Handle handle)
{
    if (!m_BankKey || !store)
        return LV2_STATE_ERR_NO_FEATURE;
    const std::vector<uint8_t> chunk = SaveBankChunk(m_Effect.Effect());
    if (chunk.empty())
        return LV2_STATE_ERR_UNKNOWN;
    // Floats in the machine's byte order, as the VST chunk: plain data, not
    // portable across byte orders.
    return store(handle, m_BankKey, chunk.data(), chunk.size(), m_ChunkType, LV2_STATE_IS_POD);
}

LV2_State_Status CLv2Plugin::RestoreState(LV2_State_Retrieve_Function retrieve,
                                          LV2_State_Handle handle)
{
    if (!m_BankKey || !retrieve)
        return LV2_STATE_ERR_NO_FEATURE;
    size_t size = 0;
    uint32_t type = 0, flags = 0;
    const void* data = retrieve(handle, m_BankKey, &size, &type, &flags);
    if (!data)
        return LV2_STATE_ERR_NO_PROPERTY;
    if (type != m_ChunkType)
        return LV2_STATE_ERR_BAD_TYPE;
    // A damaged or foreign bank is ignored: the effect keeps what it has.
    if (!LoadBankChunk(m_Effect.Effect(), data, size))
        return LV2_STATE_ERR_UNKNOWN;
    // The ports stay the truth for the current values: the next block
    // stores every port value the restored program does not show.
    ForgetControlPorts();
    return LV2_STATE_SUCCESS;
}
