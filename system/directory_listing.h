#pragma once

#include "system/directory_entry.h"

/// What a listing holds.
enum class ListingKind : std::int32_t
{
    directories,
    files,
    directoriesThenFiles
};

/// The entries of one directory, "." and ".." among its directories; each group in the file system's order. A
/// directory that does not exist has none, and so has any other kind.
/// @throws vosexception "Unable to read directory (<path>)"
DirectoryEntries listDirectory(const std::wstring& path, ListingKind kind);
