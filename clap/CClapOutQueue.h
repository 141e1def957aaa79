// CClapOutQueue: parameter events the panel produces on the UI thread, on
// their way to the host through the next process() or flush() call. One
// producer (UI thread), one consumer (whoever runs process/flush, never two
// at once); fixed capacity, no allocation, no lock. When full, new events are
// dropped: the effect already holds the values, only the host's copy lags.
#pragma once

#include <atomic>
#include <cstdint>

class CClapOutQueue
{
public:
    struct Event
    {
        uint16_t type; // clap::kEventParamValue / GestureBegin / GestureEnd
        uint32_t paramId;
        double value; // plain value, value events only
    };

    // UI thread.
    bool Push(const Event& e)
    {
        const uint32_t head = m_Head.load(std::memory_order_relaxed);
        if (head - m_Tail.load(std::memory_order_acquire) >= kCapacity)
            return false;
        m_Events[head % kCapacity] = e;
        m_Head.store(head + 1, std::memory_order_release);
        return true;
    }

    // process() or flush().
    bool Pop(Event& e)
    {
        const uint32_t tail = m_Tail.load(std::memory_order_relaxed);
        if (tail == m_Head.load(std::memory_order_acquire))
            return false;
        e = m_Events[tail % kCapacity];
        m_Tail.store(tail + 1, std::memory_order_release);
        return true;
    }

private:
    static constexpr uint32_t kCapacity = 256;
    Event m_Events[kCapacity];
    std::atomic<uint32_t> m_Head{0};
    std::atomic<uint32_t> m_Tail{0};
};
