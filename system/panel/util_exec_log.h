#pragma once

#include <cstdint>
#include <string>

/// Records the start or the end of a panel utility in the log "util_exec", which the registry switches on. Never
/// throws.
/// @param arguments  unmasked; masked here
/// @param elapsed    milliseconds; used for an end record
void writeToUtilExecLog(
    bool isStart, const std::wstring& path, const std::wstring& arguments, std::uint32_t elapsed) noexcept;
