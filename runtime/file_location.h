#pragma once

#include <string>

/// Where files and directories are on their volumes, whatever their paths look like.
namespace location {

/// The path of an existing file or directory with all links, short names and drive letters resolved, in upper case.
/// Empty: it cannot be opened or its path cannot be told.
/// @throws vosexception "LCMapStringEx"
std::wstring of(const std::wstring& path);

/// Whether the first location lies below the second one. An empty location lies nowhere.
bool isBelow(const std::wstring& location, const std::wstring& directory);

/// Whether both paths lead to the same file or directory: same volume serial number, same file identifier. False when
/// one of them cannot be opened or its file system has no identifiers. Never throws.
bool isSame(const std::wstring& path, const std::wstring& other) noexcept;

/// Whether both paths can be opened and lead to different files or directories. Never throws.
bool isOther(const std::wstring& path, const std::wstring& other) noexcept;

} // namespace location
