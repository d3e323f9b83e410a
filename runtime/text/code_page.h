#pragma once

#include <string>
#include <string_view>

// Conversion between wide text (UTF-16), the program's text type, and narrow text at its interfaces.

// Numbers of the system's ANSI code page and of UTF-8.
inline constexpr unsigned ansiCodePage = 0;
inline constexpr unsigned utf8CodePage = 65001;

/// Converts wide text to the code page. The text may contain zero characters. A character that the code page lacks
/// becomes its default character. In UTF-8 an unpaired surrogate becomes U+FFFD.
/// @throws vosexception when the code page is unknown or the text longer than INT_MAX units
std::string toNarrow(std::wstring_view text, unsigned codePage);

/// Converts text of the code page to wide text. Invalid bytes become the system's replacement character, U+FFFD in
/// UTF-8. @throws vosexception as toNarrow()
std::wstring toWide(std::string_view text, unsigned codePage);
