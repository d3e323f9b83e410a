#pragma once

#include "runtime/handle/handles.h"

#include <string>

/// A named mutex, shared between processes. Recursive.
class VMutex
{
public:
    /// Creates the mutex or opens the existing one; does not acquire it. Another account may have made it so that it
    /// cannot be opened, or may have given its name to another kind of object: then lock() always times out.
    /// @throws vosexception "CreateMutex '<name>'"
    explicit VMutex(const std::wstring& name);

    const std::wstring& name() const noexcept { return name_; }

    /// Acquires the mutex, also when its holder ended without releasing it.
    /// @param milliseconds  the longest wait; INFINITE for none
    /// @return whether it was acquired in time @throws vosexception "Lock object"
    bool lock(DWORD milliseconds);
    void unlock() noexcept;

    /// Whether SYSTEM, the administrators, TrustedInstaller or this process's user own the mutex. Not if the owner
    /// cannot be read. @throws vosexception
    bool isTrusted() const;

private:
    std::wstring name_;
    UniqueHandle handle_; // empty: cannot be opened
};
