#pragma once

#include <string_view>

/// For failures after which neither the log nor the heap nor the run times can be used.

/// Writes a text to standard output, unbuffered.
void writeLastLine(std::string_view text) noexcept;

/// Ends the process with code 1, without destructors.
[[noreturn]] void endProcess() noexcept;
