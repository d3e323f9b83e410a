#pragma once

#include <string>
#include <string_view>

// Letter case of all scripts, independent of the system's language.
// All functions throw vosexception "LCMapStringEx".

std::wstring lowerCase(std::wstring text);
std::wstring upperCase(std::wstring text);

/// Compares the texts in lower case by UTF-16 code units.
bool lessIgnoringCase(std::wstring_view left, std::wstring_view right);
bool equalIgnoringCase(std::wstring_view left, std::wstring_view right);
bool startsWithIgnoringCase(std::wstring_view text, std::wstring_view prefix);
