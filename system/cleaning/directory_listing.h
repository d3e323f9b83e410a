#pragma once

#include "system/cleaning/directory_entry.h"

/// The entries of one directory that is to be cleaned, "." and ".." among its directories; each group in the file
/// system's order. A directory that does not exist has none, and so has any other kind. Neither has one that is, or
/// lies behind, a link that is not the machine's own (openCleanedDirectory), or that holds the system or this
/// program: this is logged as a Warning.
/// @param path  absolute
/// @throws vosexception "Unable to read directory (<path>)"
DirectoryEntries listDirectory(const std::wstring& path, ListingKind kind);
