#pragma once

#include "runtime/text/format.h"

#include <string>

namespace detail {
void printWide(const std::wstring& text);
}

/// Writes printf-style wide text to standard output. Unless that is a console, the stream converts the text, so it is
/// for the program's own ASCII texts. A text without arguments is the format itself and must hold no "%".
/// @throws ArgumentException for a format that the C runtime rejects; vexception when the text cannot be written
template <typename... Args>
void printConsole(const wchar_t* format, Args... args)
{
    detail::printWide(formatString(format, args...));
}
