#pragma once

#include "runtime/text/format.h"
#include "runtime/text/mask.h"

#include <string>

// Descriptions of calls, as operation() takes them: made only when they are needed.

/// A description that is the same for every call.
inline auto callText(const wchar_t* text)
{
    return [text] { return std::wstring(text); };
}

/// @param format    printf-style: one %s for the argument, which is masked, then what the numbers need
/// @param argument  must outlive the description, which takes it as it is then
template <typename... Numbers>
auto callText(const wchar_t* format, const std::wstring& argument, Numbers... numbers)
{
    return [=, &argument] { return formatString(format, maskArgument(argument).c_str(), numbers...); };
}
