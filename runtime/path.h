#pragma once

#include <string>
#include <string_view>

namespace path {

/// Joins a directory and a relative name with one separator between them; an absolute name stands alone.
/// "." and ".." segments are resolved, paths beyond 260 characters get the \\?\ prefix.
/// @throws vosexception "PathAllocCombine '<directory>' '<name>'" when the system cannot join them
std::wstring combine(const std::wstring& directory, const std::wstring& name);

/// The directory, one separator and the name, as text: the name stays as it is, dots and blanks at its end included.
std::wstring append(const std::wstring& directory, std::wstring_view name);

/// The path with backslashes for slashes and without "." and ".." segments; an empty one stays empty.
/// @throws vosexception "PathAllocCanonicalize '<path>'"
std::wstring normalise(std::wstring path);

/// Whether the path says by itself where it leads: "X:\..." or "\\...".
bool isAbsolute(std::wstring_view path) noexcept;

/// Whether there is a file, not a directory, of this path.
bool isFile(const std::wstring& path) noexcept;

/// "C:\" of "C:\a\b", "\\server\share\" of a network path.
/// @throws vexception for a path without a root
std::wstring root(const std::wstring& path);

/// Whether a name or path ends in the extension (".exe"), in any letter case. @throws vosexception "LCMapStringEx"
bool hasExtension(std::wstring_view path, std::wstring_view extension);

/// A file's name without directory and extension.
std::wstring_view fileTitle(std::wstring_view path) noexcept;

} // namespace path
