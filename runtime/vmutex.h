#pragma once

#include "runtime/handle/handles.h"

#include <string>

/// A named mutex, shared by all processes that use the name. Recursive; fits std::lock_guard.
class VMutex
{
public:
    /// Creates the mutex or opens the one that exists, not initially owned. Where creating is denied (another
    /// user made it) it is opened for waiting only.
    /// @throws vosexception "CreateMutex '<name>'"
    explicit VMutex(const std::wstring& name);

    /// Waits without a time-out. A mutex abandoned by a dead owner counts as acquired.
    /// @throws vosexception "Lock object"
    void lock();
    void unlock() noexcept;

private:
    UniqueHandle handle_;
};
