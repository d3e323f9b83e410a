#pragma once

#include <string>
#include <type_traits>

namespace detail {
std::wstring formatVarArgs(const wchar_t* format, ...);
}

/// Printf-style wide text with the Microsoft meaning: %s takes wide text, %S narrow text.
/// Objects cannot pass through the variable arguments: hand over text.c_str().
/// @throws ArgumentException for a format that the C runtime rejects
template <typename... Args>
std::wstring formatString(const wchar_t* format, Args... args)
{
    static_assert((std::is_scalar_v<Args> && ...), "printf-style arguments are numbers and pointers");
    return detail::formatVarArgs(format, args...);
}
