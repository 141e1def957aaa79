// A first-in first-out queue of block numbers between the render threads.
// Pop waits for an item; Close wakes every waiter and makes Pop answer false,
// so that an error on one thread stops the others.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>

class CBlockQueue
{
public:
    void Push(int item)
    {
        {
            std::lock_guard<std::mutex> lock(m_Mutex);
            m_Items.push_back(item);
        }
        m_Ready.notify_one();
    }
    bool Pop(int* item)
    {
        std::unique_lock<std::mutex> lock(m_Mutex);
        m_Ready.wait(lock, [this] { return m_Closed || !m_Items.empty(); });
        if (m_Closed)
            return false;
        *item = m_Items.front();
        m_Items.pop_front();
        return true;
    }
    void Close()
    {
        {
            std::lock_guard<std::mutex> lock(m_Mutex);
            m_Closed = true;
        }
        m_Ready.notify_all();
    }

private:
    std::mutex m_Mutex;
    std::condition_variable m_Ready;
    std::deque<int> m_Items;
    bool m_Closed = false;
};
