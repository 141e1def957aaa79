// CDeferredPanelUpdates: a lock-free mailbox of the latest value per parameter.
#include "CDeferredPanelUpdates.h"

CDeferredPanelUpdates::CDeferredPanelUpdates()
{
    for (auto& v : m_Value)
        v.store(0.f, std::memory_order_relaxed);
}

void CDeferredPanelUpdates::UpdateControl(int index, float value)
{
    if (index < 0 || index >= kParams)
        return;
    m_Value[index].store(value, std::memory_order_relaxed);
    m_Mask.fetch_or(1u << index, std::memory_order_release);
}

void CDeferredPanelUpdates::UpdateModify()
{
    m_Mask.fetch_or(1u << kModifyBit, std::memory_order_release);
}

void CDeferredPanelUpdates::ApplyTo(IDeEsserPanel* panel)
{
    const uint32_t mask = m_Mask.exchange(0, std::memory_order_acquire);
    if (!mask || !panel)
        return;
    for (int i = 0; i < kParams; ++i)
        if (mask & (1u << i))
            panel->UpdateControl(i, m_Value[i].load(std::memory_order_relaxed));
    if (mask & (1u << kModifyBit))
        panel->UpdateModify();
}
