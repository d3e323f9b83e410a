#pragma once

#include <string>
#include <string_view>

namespace path {

/// Joins a directory and a relative name with one separator between them; an absolute name stands alone.
/// "." and ".." segments are resolved, paths beyond 260 characters get the \\?\ prefix.
/// @throws vosexception "PathAllocCombine '<directory>' '<name>'" when the system cannot join them
std::wstring combine(const std::wstring& directory, const std::wstring& name);

/// A file's name without directory and extension.
std::wstring_view fileTitle(std::wstring_view path) noexcept;

} // namespace path
