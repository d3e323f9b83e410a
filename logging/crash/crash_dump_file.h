#pragma once

#include "runtime/handle/handles.h"

#include <string>

/// The file of a dump, always newly created. Only SYSTEM and Administrators have access, because a dump contains the
/// secrets that logs mask. Opened with read sharing. Until keep() is called the file is marked for deletion: it goes
/// with its last handle, also when the process is terminated.
class CrashDumpFile
{
public:
    /// @throws vosexception "CreateFile '<name>'"
    explicit CrashDumpFile(const std::wstring& name);
    CrashDumpFile(const CrashDumpFile&) = delete;
    CrashDumpFile& operator=(const CrashDumpFile&) = delete;

    /// A second handle, owned by the caller. Closing it does not affect this object.
    /// @throws vosexception "DuplicateHandle"
    UniqueFile duplicate() const;

    /// @throws vosexception "SetFileInformationByHandle"
    void keep();

private:
    UniqueFile file_;
    bool isMarked_;
};
