#include "runtime/text/command_line.h"

namespace {

constexpr std::wstring_view whiteSpace = L" \t";

} // namespace

std::size_t argumentEnd(std::wstring_view commandLine, std::size_t begin)
{
    bool quoted = false;
    std::size_t backslashes = 0;
    for (std::size_t at = begin; at < commandLine.size(); ++at) {
        const wchar_t c = commandLine[at];
        if (!quoted && whiteSpace.find(c) != std::wstring_view::npos)
            return at;
        if (c == L'"' && backslashes % 2 == 0)
            quoted = !quoted;
        backslashes = c == L'\\' ? backslashes + 1 : 0;
    }
    return commandLine.size();
}

namespace {

std::wstring unquoted(std::wstring_view token)
{
    std::wstring argument;
    bool quoted = false;
    for (std::size_t at = 0; at < token.size(); ++at) {
        const std::size_t quote = token.find_first_not_of(L'\\', at);
        if (token[at] == L'\\' && quote != std::wstring_view::npos && token[quote] == L'"') {
            const std::size_t backslashes = quote - at;
            argument.append(backslashes / 2, L'\\');
            at = quote;
            if (backslashes % 2 != 0) {
                argument += L'"';
                continue;
            }
        }
        if (token[at] != L'"') {
            argument += token[at];
        } else if (quoted && at + 1 < token.size() && token[at + 1] == L'"') {
            argument += L'"'; // two quotes inside quotes are one literal quote
            ++at;
        } else {
            quoted = !quoted;
        }
    }
    return argument;
}

} // namespace

std::vector<std::wstring> splitArguments(std::wstring_view commandLine)
{
    std::vector<std::wstring> arguments;
    for (std::size_t begin = 0;;) {
        begin = commandLine.find_first_not_of(whiteSpace, begin);
        if (begin == std::wstring_view::npos)
            return arguments;
        const std::size_t end = argumentEnd(commandLine, begin);
        arguments.push_back(unquoted(commandLine.substr(begin, end - begin)));
        begin = end;
    }
}

std::wstring quoteArgument(std::wstring_view argument)
{
    constexpr std::wstring_view special = L" \t\n\v\f\r\"&<>()[]{}^=;!'+,`~|";
    if (!argument.empty() && argument.find_first_of(special) == std::wstring_view::npos)
        return std::wstring(argument);

    std::wstring quoted = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t c : argument) {
        if (c == L'"')
            quoted.append(backslashes + 1, L'\\'); // doubles those before the quote and escapes the quote
        quoted += c;
        backslashes = c == L'\\' ? backslashes + 1 : 0;
    }
    return quoted.append(backslashes, L'\\') + L"\"";
}
