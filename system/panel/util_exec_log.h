#pragma once

#include <cstdint>
#include <string>

/// Records the start or the end of a panel utility in the log "util_exec" (which is off unless it is switched
/// on). Never throws: a broken log stops no utility.
/// @param arguments  unmasked; they are masked here
/// @param elapsed    milliseconds, for an end
void writeToUtilExecLog(
    bool isStart, const std::wstring& path, const std::wstring& arguments, std::uint32_t elapsed) noexcept;
