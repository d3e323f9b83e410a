#pragma once

#include <string>
#include <string_view>
#include <vector>

// Command lines by the rules of CommandLineToArgvW: blanks and tabs separate arguments, quotes group, backslashes
// before a quote escape it.

/// The position behind the argument that begins at `begin`.
std::size_t argumentEnd(std::wstring_view commandLine, std::size_t begin);

/// The arguments as the called program receives them, without quotes. Not for the program's path at the start of a
/// command line, which has no escapes.
std::vector<std::wstring> splitArguments(std::wstring_view commandLine);

/// The argument as written in a command line: unchanged, or in quotes when it is empty or contains white space or a
/// special character of the command interpreter.
std::wstring quoteArgument(std::wstring_view argument);
