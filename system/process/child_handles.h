#pragma once

#include "runtime/handle/handles.h"
#include "system/process/vexecutil.h"

#include <array>
#include <vector>

/// A child's standard handles. `owned` holds those that this process closes once the child has started.
struct StandardHandles
{
    std::array<HANDLE, 3> handles{}; // input, output, error // weak
    std::vector<UniqueFile> owned;

    HANDLE own(UniqueFile handle)
    {
        owned.push_back(std::move(handle));
        return owned.back().get();
    }
};

/// Chooses the standard handles of a child before its start, and creates its pipes.
/// @throws vosexception "CreateFile '<file>'", and as ExecPipe::create
StandardHandles standardHandles(vexecutil& child);

/// Start-up attributes that let the child inherit only the given handles.
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
