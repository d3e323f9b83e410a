#pragma once

#include "runtime/handle/handles.h"
#include "system/cleaning/disposition.h"
#include "system/cleaning/idirectory_source.h"

/// Reaches the file system: the file systems of the machine, through native calls. These open a name relative to an
/// open directory. They take every name literally and have no limit on the length of the path.
class NtDirectorySource : public IDirectorySource
{
public:
    DWORD openRoot(const std::wstring& root, bool list, Handle& opened) override;
    DWORD openPlainly(const std::wstring& path, Handle& opened) override;
    DWORD open(Handle directory, std::wstring_view name, const Opening& opening, Handle& opened) override;
    void close(Handle object) noexcept override;
    DWORD kindOf(Handle object, ObjectKind& kind) override;
    DWORD locationOf(Handle object, std::wstring& location) override;
    DWORD pathOf(Handle object, std::wstring& path) override;
    DWORD idOf(Handle object, FileId& id) override;
    bool isRemote(Handle object) noexcept override;
    DWORD mountsOf(const std::wstring& volume, std::vector<std::wstring>& paths) override;
    DWORD list(Handle directory, bool first, std::vector<ListedEntry>& entries) override;
    DWORD remove(Handle object) override;
    void cancelRemoval() noexcept override;
    DWORD targetOf(Handle link, std::wstring& target) override;
    bool isTrusted(Handle link) noexcept override;

private:
    std::vector<BYTE> buffer_; // for listings
    bool refusesLinks_ = true; // OBJ_DONT_REPARSE is known, from Windows 10 on
    Disposition disposition_;  // of the volume that was opened last
    UniqueHandle remover_;     // the thread that removes
    Handle removed_ = nullptr; // weak: the object that is being removed
};
