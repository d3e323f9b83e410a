#pragma once

#include "runtime/deadline.h"
#include "system/cleaning/idirectory_source.h"

/// Decides, on a given source: removals that do not return are cancelled. The holder of an oplock on an object can
/// keep its removal waiting without an end.
class BoundedRemoval
{
public:
    static constexpr DWORD longestRemoval = 5000; // milliseconds

    /// @param source  weak: must outlive the object
    explicit BoundedRemoval(IDirectorySource& source, DWORD milliseconds = longestRemoval) noexcept
        : source_(source), deadline_(milliseconds, cancel, &source)
    {
    }

    /// As IDirectorySource::remove. @return ERROR_OPERATION_ABORTED for a cancelled removal
    DWORD remove(IDirectorySource::Handle object)
    {
        deadline_.begin();
        const DWORD code = source_.remove(object);
        deadline_.end();
        return code;
    }

private:
    static void cancel(void* source) noexcept { static_cast<IDirectorySource*>(source)->cancelRemoval(); }

    IDirectorySource& source_;
    Deadline deadline_;
};
