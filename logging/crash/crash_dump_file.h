#pragma once

#include "runtime/handle/handles.h"

#include <string>

/// The file of a dump: a new one, whatever had its name before, and only SYSTEM and Administrators may read it, as a
/// dump holds the secrets that logs mask. Others may read it while it is written. Gone with the object unless it is
/// kept.
class CrashDumpFile
{
public:
    /// @throws vosexception "CreateFile '<name>'"
    explicit CrashDumpFile(const std::wstring& name);
    CrashDumpFile(const CrashDumpFile&) = delete;
    CrashDumpFile& operator=(const CrashDumpFile&) = delete;
    ~CrashDumpFile();

    /// A handle for one use: whatever becomes of it, the file can still be removed.
    /// @throws vosexception "DuplicateHandle"
    UniqueFile duplicate() const;

    void keep() noexcept { kept_ = true; }

private:
    UniqueFile file_;
    bool kept_ = false;
};
