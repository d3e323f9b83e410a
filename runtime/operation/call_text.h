#pragma once

#include "runtime/text/format.h"
#include "runtime/text/mask.h"

#include <string>

// Call descriptions for operation(), which makes the text only when it needs it.

/// A description without arguments.
inline auto callText(const wchar_t* text)
{
    return [text] { return std::wstring(text); };
}

/// A description with an argument, which is masked, and numbers.
/// @param format    printf-style: %s for the argument, then the conversions of the numbers
/// @param argument  held by reference: it must outlive the returned function. Its value when that function is called
///                  is used
template <typename... Numbers>
auto callText(const wchar_t* format, const std::wstring& argument, Numbers... numbers)
{
    return [=, &argument] { return formatString(format, maskArgument(argument).c_str(), numbers...); };
}
