#pragma once

#include "runtime/handle/handles.h"
#include "system/process/vexecutil.h"

#include <array>
#include <vector>

/// What the child gets as its standard handles, and what of it must be closed once the child has it.
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

/// Chooses the standard handles of a child that is about to start, and creates its pipes.
/// @throws vosexception "CreateFile '<file>'"; as ExecPipe::create
StandardHandles standardHandles(vexecutil& child);

/// Start-up attributes that let these handles, and no other inheritable ones, reach the child.
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
