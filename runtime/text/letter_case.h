#pragma once

#include <string>

/// The text with every letter (not only ASCII's) in the other case, whatever the machine's language.
/// @throws vosexception "LCMapStringEx"
std::wstring lowerCase(std::wstring text);
std::wstring upperCase(std::wstring text);
