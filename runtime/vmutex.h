#pragma once

#include "runtime/handle/handles.h"

#include <string>

/// A named mutex, shared between processes. Recursive. Works with std::lock_guard.
class VMutex
{
public:
    /// Creates the mutex or opens the existing one; does not acquire it.
    /// @throws vosexception "CreateMutex '<name>'"
    explicit VMutex(const std::wstring& name);

    /// Acquires the mutex, also when its owner ended without releasing it. Waits without a time-out.
    /// @throws vosexception "Lock object"
    void lock();
    void unlock() noexcept;

private:
    UniqueHandle handle_;
};
