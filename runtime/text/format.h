#pragma once

#include <string>
#include <type_traits>

namespace detail {
std::wstring formatVarArgs(const wchar_t* format, ...);
}

/// Formats wide text with Microsoft's printf conversions: %s takes wide text, %S narrow text.
/// @param args  numbers and pointers: text.c_str(), not text
/// @throws ArgumentException when the C runtime rejects the format
template <typename... Args>
std::wstring formatString(const wchar_t* format, Args... args)
{
    static_assert((std::is_scalar_v<Args> && ...), "printf-style arguments are numbers and pointers");
    return detail::formatVarArgs(format, args...);
}
