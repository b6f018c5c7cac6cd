#pragma once

#include <windows.h>

namespace quorvel {

// A lock of the system's own. std::mutex would bring in a thread library that leaks a TLS index each time a host
// loads and unloads the module.
class Mutex
{
public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() { AcquireSRWLockExclusive(&m_Lock); }
    bool try_lock() { return TryAcquireSRWLockExclusive(&m_Lock) != FALSE; }
    void unlock() { ReleaseSRWLockExclusive(&m_Lock); }

private:
    SRWLOCK m_Lock = SRWLOCK_INIT;
};

} // namespace quorvel
