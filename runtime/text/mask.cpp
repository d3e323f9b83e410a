#include "runtime/text/mask.h"

#include "runtime/text/command_line.h"

#include <algorithm>

namespace {

constexpr std::wstring_view whiteSpace = L" \t";

/// The position of "password" or "pwd" in the name; npos when it has neither.
std::size_t findSecret(std::wstring_view name)
{
    return std::min(name.find(L"password"), name.find(L"pwd"));
}

/// Whether all command-line parsers find the same end of the token. Some parsers end a quoted part at two adjacent
/// quotes, some continue it. They agree if the pair is the whole argument or the whole value at the token's end.
bool hasClearEnd(std::wstring_view token)
{
    const std::size_t quotes = token.find(L"\"\"");
    return quotes == std::wstring_view::npos ||
           (quotes + 2 == token.size() && (quotes == 0 || token[quotes - 1] == L'='));
}

/// Appends a token, masked when its name is secret. @return whether it was masked
bool appendMasked(std::wstring& masked, std::wstring_view token)
{
    const std::size_t equals = token.find(L'=');
    // Parsers remove quotes from names. A pair of quotes may begin in the name and end in the value.
    std::wstring name(token.substr(0, equals));
    std::erase(name, L'"');
    if (equals == std::wstring_view::npos || findSecret(name) == std::wstring::npos) {
        masked += token;
        return false;
    }
    masked += name;
    for (auto parts = std::count(token.begin(), token.end(), L'='); parts > 0; --parts)
        masked += L"=*";
    return true;
}

/// Appends one argument, masked. The argument may itself be a command line. A secret in one of its pieces is masked
/// up to the end of the argument, because the end of the value is unknown.
void appendMaskedArgument(std::wstring& masked, std::wstring_view argument)
{
    const std::size_t length = masked.size();
    if (appendMasked(masked, argument))
        return;
    for (std::size_t begin = argument.find_first_of(whiteSpace); begin != std::wstring_view::npos;
        begin = argument.find_first_of(whiteSpace, begin)) {
        ++begin;
        std::wstring piece;
        const std::wstring_view rest = argument.substr(begin);
        const std::wstring_view name = rest.substr(0, rest.find_first_of(L" \t="));
        if (name.size() < rest.size() && rest[name.size()] == L'=' && appendMasked(piece, rest)) {
            masked.resize(length);
            masked.append(argument.substr(0, begin)).append(piece);
            masked += argument.starts_with(L'"') ? L"\"" : L"";
            return;
        }
    }
}

/// Appends the rest of a line whose arguments have no clear ends, masked. Everything after the name of a secret may
/// be its value.
void appendMaskedRest(std::wstring& masked, std::wstring_view rest)
{
    std::wstring plain(rest);
    std::erase(plain, L'"');
    const std::size_t equals = plain.find(L'=', findSecret(plain));
    masked += equals == std::wstring::npos ? std::wstring(rest) : plain.substr(0, equals) + L"=*";
}

} // namespace

std::wstring maskCommandLine(std::wstring_view commandLine)
{
    std::wstring masked;
    for (std::size_t begin = commandLine.find_first_not_of(whiteSpace); begin < commandLine.size();
        begin = commandLine.find_first_not_of(whiteSpace, begin)) {
        const std::size_t end = argumentEnd(commandLine, begin);
        const std::wstring_view token = commandLine.substr(begin, end - begin);
        masked += masked.empty() ? L"" : L" ";
        if (!hasClearEnd(token)) {
            appendMaskedRest(masked, commandLine.substr(begin));
            break;
        }
        appendMaskedArgument(masked, token);
        begin = end;
    }
    return masked;
}

std::wstring maskArgument(std::wstring_view argument)
{
    std::wstring masked;
    appendMaskedArgument(masked, argument);
    return masked;
}

std::wstring maskArguments(std::wstring_view arguments)
{
    std::wstring masked;
    for (const std::wstring& argument : splitArguments(arguments))
        masked += (masked.empty() ? L"" : L" ") + quoteArgument(maskArgument(argument));
    return masked;
}
