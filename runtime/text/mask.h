#pragma once

#include <string>
#include <string_view>

/// Hides the secrets in a command line that is shown or recorded. In a token name=value whose name contains
/// "password" or "pwd", each part after an "=" becomes "*": --db-password=a=b gives --db-password=*=*. The tokens are
/// joined with single blanks. Quotes group as in CommandLineToArgvW, so a quoted secret is masked whole. A masked
/// token loses its quotes. After two adjacent quotes, which parsers read differently, a secret is masked up to the
/// end of the line.
std::wstring maskCommandLine(std::wstring_view commandLine);

/// Masks one argument as a program receives it: a single token, white space included.
std::wstring maskArgument(std::wstring_view argument);

/// Masks each argument of an argument text and joins them with blanks, in quotes where needed.
std::wstring maskArguments(std::wstring_view arguments);
