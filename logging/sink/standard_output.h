#pragma once

#include <string>

/// Writes UTF-8 text to standard output and flushes it. A console shows it as text, whatever its code page. Elsewhere
/// the C runtime's text mode writes the bytes, "\n" as CR LF; so a CR LF of the text stays CR LF. A zero character is
/// written as U+FFFD.
/// @return false when not all of it could be written; true for a process without standard output
/// @throws vosexception, std::bad_alloc
bool writeStandardOutput(const std::string& text);

/// The same for wide text, which the stream converts unless standard output is a console.
bool writeStandardOutput(const std::wstring& text);
