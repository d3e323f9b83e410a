#pragma once

#include <windows.h>

#include <cstdint>
#include <list>
#include <string>

/// One entry of a directory, as the file system lists it.
struct DirectoryEntry
{
    std::wstring name; // without its directory
    std::uint32_t attributes;
    bool isReparsePoint;
    bool isNameSurrogate; // a link: a reparse point that stands for another name, or whose tag cannot be told
    std::uint64_t size;
    FILETIME creationTime, lastAccessTime, lastWriteTime; // UTC

    /// The directory itself or the one above it, which are no entries of their own; a name that is empty counts too.
    bool isDots() const noexcept { return name.empty() || name == L"." || name == L".."; }
    bool isDirectory() const noexcept { return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
    /// A directory that is no link to another one.
    bool isRealDirectory() const noexcept { return isDirectory() && !isNameSurrogate; }
};

using DirectoryEntries = std::list<DirectoryEntry>;

/// What a listing holds.
enum class ListingKind : std::int32_t
{
    directories,
    files,
    directoriesThenFiles
};
