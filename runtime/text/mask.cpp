#include "runtime/text/mask.h"

#include "runtime/text/command_line.h"

#include <algorithm>

namespace {

constexpr std::wstring_view whiteSpace = L" \t";

/// The place of a word that makes a name secret; npos when there is none.
std::size_t findSecret(std::wstring_view name)
{
    return std::min(name.find(L"password"), name.find(L"pwd"));
}

/// Readers differ on whether quotes go on behind two side by side, unless these are an empty value.
bool hasClearEnd(std::wstring_view token)
{
    const std::size_t quotes = token.find(L"\"\"");
    return quotes == std::wstring_view::npos ||
           (quotes + 2 == token.size() && (quotes == 0 || token[quotes - 1] == L'='));
}

/// Appends a token with the values of a secret hidden. @return whether it was one
bool appendMasked(std::wstring& masked, std::wstring_view token)
{
    const std::size_t equals = token.find(L'=');
    // Quotes are for the system alone, also within a name; the other half of a pair may stand in the value.
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

/// One argument. It may be a command line in itself: a secret in one of its pieces reaches to the argument's end,
/// since nobody knows where its value ends.
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

/// The rest of a line, when it is unknown where its arguments end: all behind a secret's name may be its value.
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
