#pragma once

#include <string>

/// Whether the process has a standard output at all; without one nobody misses what is written.
bool hasConsole() noexcept;

/// Writes text to standard output through the C runtime (text mode: "\n" leaves as CR LF), whole and at once:
/// nothing stays in a buffer that a crash would lose.
/// @return false when not all of it could be written; a process without a standard output has nobody to miss
/// it
bool writeConsole(const std::string& text) noexcept;
