#pragma once

#include <string>
#include <string_view>

// Wide text (UTF-16) is the program's text type; narrow text stands only at its edges.

/// The system's ANSI code page and UTF-8, as the conversions below number them.
inline constexpr unsigned ansiCodePage = 0;
inline constexpr unsigned utf8CodePage = 65001;

/// Converts wide text to the code page. Characters that it does not have become its default character;
/// in UTF-8 an unpaired surrogate becomes U+FFFD. Any length, zero characters included.
/// @throws vosexception when the system cannot convert (an unknown code page, more than 2 GiB)
std::string toNarrow(std::wstring_view text, unsigned codePage);

/// Converts text of the code page to wide text. Bytes that are invalid there become what the system puts in
/// their place, in UTF-8 U+FFFD.
/// @throws vosexception when the system cannot convert
std::wstring toWide(std::string_view text, unsigned codePage);
