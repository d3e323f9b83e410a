#pragma once

#include "runtime/handle/handles.h"
#include "system/process/exec_pipe.h"

#include <array>
#include <string>
#include <vector>

/// What a child's standard handles are bound to. A pipe comes before a file, a file before this process's own handle.
struct ChildStreams
{
    ExecPipe *stdinPipe, *stdoutPipe, *stderrPipe;           // null for none // weak
    const std::wstring &stdinFile, &stdoutFile, &stderrFile; // empty for none
    bool stderrToStdout;                                     // before the file
};

/// The standard handles of a child, and those of them that this process closes once the child is started.
struct StandardHandles
{
    std::array<HANDLE, 3> handles{}; // input, output, error; null for none // weak
    std::vector<UniqueFile> owned;

    /// @return the handle; null for an empty one
    HANDLE own(UniqueFile handle)
    {
        owned.push_back(std::move(handle));
        return owned.back() ? owned.back().get() : nullptr;
    }
};

/// Chooses a child's standard handles before its start and creates its pipes.
/// @throws vosexception "CreateFile '<file>'"; as ExecPipe::create
StandardHandles standardHandles(const ChildStreams& streams);

/// Start-up attributes that let the child inherit these handles and no others.
class HandleList
{
public:
    /// @throws vosexception "InitializeProcThreadAttributeList", "UpdateProcThreadAttribute"
    explicit HandleList(const std::array<HANDLE, 3>& handles);
    HandleList(const HandleList&) = delete;
    HandleList& operator=(const HandleList&) = delete;
    ~HandleList() { DeleteProcThreadAttributeList(get()); }

    LPPROC_THREAD_ATTRIBUTE_LIST get() noexcept
    {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
    }
    bool empty() const noexcept { return handles_.empty(); }

private:
    std::vector<HANDLE> handles_; // weak
    std::vector<BYTE> memory_;
};
