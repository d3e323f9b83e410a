#pragma once

#include "runtime/vmutex.h"

#include <string>

/// Holds one of the panel's log mutexes for a scope. Waits for it without a time-out, as all programs of the panel
/// do: they hold it only while they write one record. A mutex that neither the system, an administrator nor this
/// process's user owns is waited for two seconds, once per process. Then the scope runs without the mutex: any
/// account can make a mutex of the known name first and keep it.
class LogLock
{
public:
    /// @throws vosexception as VMutex::lock
    explicit LogLock(VMutex& mutex);
    LogLock(const LogLock&) = delete;
    LogLock& operator=(const LogLock&) = delete;
    ~LogLock();

    /// Returns the name of a mutex that this process no longer waits for, each name once; empty when there is none.
    static std::wstring takeGivenUp();

private:
    VMutex& mutex_;
    bool isHeld_;
};
