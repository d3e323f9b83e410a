#pragma once

#include <cstdint>
#include <source_location>

/// The place in the program that raised a failure or rethrew it.
/// The function name is a literal such as "Params::check": std::source_location has the whole signature instead.
struct RaiseSite
{
    const char* function;
    std::uint_least32_t line;

    // Implicit, so that a throw expression can pass {"Params::check"}. The line is that of the throw.
    RaiseSite(const char* function_, std::source_location where = std::source_location::current()) noexcept
        : function(function_), line(where.line())
    {
    }
    /// For sites with a fixed line, which is part of the interface with the panel's log readers.
    RaiseSite(const char* function_, std::uint_least32_t line_) noexcept : function(function_), line(line_) {}
};
