#pragma once

#include "runtime/handle/handles.h"

#include <string>

/// The file of a dump, always newly created. Only SYSTEM and Administrators have access, because a dump contains the
/// secrets that logs mask. Opened with read sharing. The destructor deletes the file unless keep() was called.
class CrashDumpFile
{
public:
    /// @throws vosexception "CreateFile '<name>'"
    explicit CrashDumpFile(const std::wstring& name);
    CrashDumpFile(const CrashDumpFile&) = delete;
    CrashDumpFile& operator=(const CrashDumpFile&) = delete;
    ~CrashDumpFile();

    /// A second handle, owned by the caller. Closing it does not affect this object.
    /// @throws vosexception "DuplicateHandle"
    UniqueFile duplicate() const;

    void keep() noexcept { kept_ = true; }

private:
    UniqueFile file_;
    bool kept_ = false;
};
