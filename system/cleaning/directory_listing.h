#pragma once

#include "system/cleaning/directory_entry.h"

/// Reaches the file system: lists the entries of a directory that is to be cleaned. "." and ".." are listed with the
/// directories. Directories and files each keep the file system's order.
/// The list is empty for a missing directory and for a number that is no ListingKind. It is empty, with a Warning in
/// the log, when the path leads over an untrusted link (openCleanedDirectory), or when the directory contains the
/// system directory or this program.
/// @param path  absolute
/// @throws vosexception "Unable to read directory (<path>)"
DirectoryEntries listDirectory(const std::wstring& path, ListingKind kind);
