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

/// Whether the level denotes a failure: Error and above.
constexpr bool isSevere(LogLevel level) noexcept
{
    return level >= LogLevel::Error;
}
