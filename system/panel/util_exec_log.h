#pragma once

#include <cstdint>
#include <string>

/// Records the start or the end of a panel utility in the log "util_exec", which is off by default.
/// @param arguments  unmasked; secrets in them are masked in the log
/// @param elapsed    run time in milliseconds; only recorded for an end
void writeToUtilExecLog(
    bool isStart, const std::wstring& path, const std::wstring& arguments, std::uint32_t elapsed) noexcept;
