#pragma once

#include <string>
#include <string_view>

/// Hides secrets in a command line before it is shown or recorded anywhere: in a token name=value whose name
/// contains "password" or "pwd", each part behind an "=" becomes "*" (--db-password=a=b gives
/// --db-password=*=*). The tokens are joined with single blanks.
/// A quoted stretch belongs to its token, by the system's own rules for command lines, so no part of a quoted
/// secret survives; a masked token loses its quotes.
/// Behind quotes side by side, which readers take in different ways, a secret reaches to the line's end.
std::wstring maskCommandLine(std::wstring_view commandLine);

/// The same for one argument as a program receives it, which is one token whatever white space is in it.
std::wstring maskArgument(std::wstring_view argument);

/// The same for each of a program's arguments, written as one text: quoted where that is needed.
std::wstring maskArguments(std::wstring_view arguments);
