#pragma once

#include "runtime/text/format.h"

#include <string>

namespace detail {
void printWide(const std::wstring& text);
}

/// Formats wide text (formatString) and writes it to standard output. For ASCII texts only: the C runtime converts
/// the text with the current locale. The first argument is always a format: write "%" as "%%".
/// @throws ArgumentException for a format that the C runtime rejects; vexception when the text cannot be written
template <typename... Args>
void printConsole(const wchar_t* format, Args... args)
{
    detail::printWide(formatString(format, args...));
}
