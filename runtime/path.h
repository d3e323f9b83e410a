#pragma once

#include <string>
#include <string_view>

namespace path {

/// Joins a directory and a relative name with one separator; an absolute name is returned alone. Resolves "." and
/// ".." segments and prefixes paths over 260 characters with \\?\.
/// @throws vosexception "PathAllocCombine '<directory>' '<name>'"
std::wstring combine(const std::wstring& directory, const std::wstring& name);

/// Joins a directory and a name with one separator. The name stays unchanged, also with dots and blanks at its end.
std::wstring append(const std::wstring& directory, std::wstring_view name);

/// The path with single backslashes for slashes and without "." and ".." segments; an empty path stays empty.
/// @throws vosexception "PathAllocCanonicalize '<path>'"
std::wstring normalise(std::wstring path);

/// Whether the path has the form "X:\..." or "\\...".
bool isAbsolute(std::wstring_view path) noexcept;

/// Whether the path exists and is not a directory.
bool isFile(const std::wstring& path) noexcept;

/// "C:\" of "C:\a\b", "\\server\share\" of a network path.
/// @throws vexception "Unable to find the root of path (<path>)"
std::wstring root(const std::wstring& path);

/// Whether a name or path ends with the extension (".exe"), ignoring letter case.
/// @throws vosexception "LCMapStringEx"
bool hasExtension(std::wstring_view path, std::wstring_view extension);

/// The file name without directory and extension.
std::wstring_view fileTitle(std::wstring_view path) noexcept;

} // namespace path
