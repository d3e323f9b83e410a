#pragma once

#include <cstddef>
#include <cstdint>

enum class LogLevel : std::int32_t
{
    Info,
    Warning,
    Result,
    Error,
    Unexpected,
    Crash
};

inline constexpr std::size_t logLevelCount = 6;

/// Error and above: failures, which reach every sink whatever the settings of the lower levels.
constexpr bool isSevere(LogLevel level) noexcept
{
    return level >= LogLevel::Error;
}
