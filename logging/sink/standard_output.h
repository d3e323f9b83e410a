#pragma once

#include <string>

/// Writes text to standard output through the C runtime (text mode: "\n" leaves as CR LF), whole and at once: it
/// stands before whatever is written next, and nothing stays in a buffer that a crash would lose.
/// @return false when not all of it could be written; a process without a standard output has nobody to miss it
bool writeStandardOutput(const std::string& text) noexcept;

/// The same for wide text, which the stream translates.
bool writeStandardOutput(const std::wstring& text) noexcept;
