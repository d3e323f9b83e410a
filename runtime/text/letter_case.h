#pragma once

#include <string>
#include <string_view>

// Letter case of all letters, not only ASCII's, whatever the machine's language.

/// @throws vosexception "LCMapStringEx"
std::wstring lowerCase(std::wstring text);
std::wstring upperCase(std::wstring text);

// Texts that differ only in letter case are equal to these; the order is that of the texts in lower case, by UTF-16
// code units. @throws vosexception "LCMapStringEx"

bool lessIgnoringCase(std::wstring_view left, std::wstring_view right);
bool equalIgnoringCase(std::wstring_view left, std::wstring_view right);
bool startsWithIgnoringCase(std::wstring_view text, std::wstring_view prefix);
