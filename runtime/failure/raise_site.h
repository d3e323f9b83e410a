#pragma once

#include <cstdint>
#include <source_location>

/// The place in the program that raised a failure or passed it on.
/// The function name is a literal such as "Params::check": the compiler's own name is the whole signature.
struct RaiseSite
{
    const char* function;
    std::uint_least32_t line;

    // Implicit, so that a throw reads {"Params::check"}; the line is that of the throw.
    RaiseSite(const char* function_, std::source_location where = std::source_location::current()) noexcept
        : function(function_), line(where.line())
    {
    }
    /// For sites whose line is fixed, because log readers of the panel know it.
    RaiseSite(const char* function_, std::uint_least32_t line_) noexcept : function(function_), line(line_) {}
};
