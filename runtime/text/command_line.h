#pragma once

#include <string>
#include <string_view>
#include <vector>

// Command lines by the system's rules: white space separates arguments, quotes hold one together, backslashes
// before a quote escape it.

/// Where the argument that begins at `begin` ends.
std::size_t argumentEnd(std::wstring_view commandLine, std::size_t begin);

/// The arguments as the called program sees them, quotes removed. (The rules for a program's own path, which
/// knows no escapes, are others.)
std::vector<std::wstring> splitArguments(std::wstring_view commandLine);

/// One argument as it must stand in a command line: as it is, or in quotes when it is empty or holds white
/// space or a character that a command interpreter knows.
std::wstring quoteArgument(std::wstring_view argument);
