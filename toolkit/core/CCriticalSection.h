// A recursive lock with the Lock/Unlock pair of the desktop framework, plus a
// scoped guard. Uncontended locking makes no system call.
#pragma once

#include <mutex>

class CCriticalSection
{
public:
    void Lock() { m_Mutex.lock(); }
    void Unlock() { m_Mutex.unlock(); }

private:
    std::recursive_mutex m_Mutex;
};

class CSingleLock
{
public:
    explicit CSingleLock(CCriticalSection& section) : m_Section(section) { m_Section.Lock(); }
    ~CSingleLock() { m_Section.Unlock(); }
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

private:
    CCriticalSection& m_Section;
};
