// Panel updates that arrive off the UI thread: a host may automate
// setParameter from its audio thread, and the effect then tells its panel.
// Drawing belongs to the UI thread, so such calls land here (the last value
// per parameter wins) and reach the panel at the next idle. The object lives
// as long as the editor, so the audio thread never touches a panel that the
// UI thread may be destroying.
// Thread: UpdateControl / UpdateModify from any thread; ApplyTo and Clear on
// the UI thread.
#pragma once

#include <atomic>
#include <cstdint>

#include "IDeEsserPanel.h"

class CDeferredPanelUpdates : public IDeEsserPanel
{
public:
    CDeferredPanelUpdates();

    void UpdateControl(int index, float value) override;
    void UpdateModify() override;

    // Hands what was queued to `panel` and empties the queue.
    void ApplyTo(IDeEsserPanel* panel);
    void Clear() { m_Mask.store(0, std::memory_order_relaxed); }
    bool IsEmpty() const { return m_Mask.load(std::memory_order_relaxed) == 0; }

private:
    enum
    {
        kParams = 11,
        kModifyBit = 31
    };
    std::atomic<float> m_Value[kParams];
    std::atomic<uint32_t> m_Mask{0}; // bit i: parameter i queued; bit 31: lamp
};
