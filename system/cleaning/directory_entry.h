#pragma once

#include "system/cleaning/entry_arena.h"

#include <windows.h>

#include <cstdint>
#include <list>
#include <string>

/// Holds data only: one entry of a directory, as the file system lists it.
struct DirectoryEntry
{
    std::wstring name; // without the path of the directory
    std::uint32_t attributes;
    bool isReparsePoint;
    bool isNameSurrogate; // a link: a name surrogate, or a reparse point whose tag is unknown
    std::uint64_t size;
    FILETIME creationTime, lastAccessTime, lastWriteTime; // UTC

    /// Whether the name is "." or "..", or empty.
    bool isDots() const noexcept { return name.empty() || name == L"." || name == L".."; }
    bool isDirectory() const noexcept { return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
    /// A directory that is not a link.
    bool isRealDirectory() const noexcept { return isDirectory() && !isNameSurrogate; }
};

using DirectoryEntries = std::list<DirectoryEntry, EntryArena<DirectoryEntry>>;

/// Which entries a listing returns.
enum class ListingKind : std::int32_t
{
    directories,
    files,
    directoriesThenFiles
};
