#pragma once

#include <string>

/// Writes text to standard output through the C runtime and flushes it. The stream is in text mode: "\n" becomes CR
/// LF.
/// @return false when the text was not written completely; true when the process has no standard output
bool writeStandardOutput(const std::string& text) noexcept;

/// The same for wide text. The C runtime converts it with the current locale.
bool writeStandardOutput(const std::wstring& text) noexcept;
