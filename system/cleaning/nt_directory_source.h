#pragma once

#include "system/cleaning/idirectory_source.h"

/// Reaches the file system: the file systems of the machine, through native calls. These open a name relative to an
/// open directory. They take every name literally and have no limit on the length of the path.
class NtDirectorySource : public IDirectorySource
{
public:
    DWORD openRoot(const std::wstring& root, Handle& opened) override;
    DWORD open(Handle directory, std::wstring_view name, const Opening& opening, Handle& opened) override;
    void close(Handle object) noexcept override;
    DWORD kindOf(Handle object, ObjectKind& kind) override;
    DWORD locationOf(Handle object, std::wstring& location) override;
    DWORD list(Handle directory, bool first, std::vector<DirectoryEntry>& entries) override;
    DWORD remove(Handle object) override;
    DWORD targetOf(Handle link, std::wstring& target) override;
    bool isTrusted(Handle link) noexcept override;

private:
    std::vector<BYTE> buffer_; // for listings
};
