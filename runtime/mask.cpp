#include "runtime/mask.h"

#include "runtime/command_line.h"

#include <algorithm>

namespace {

constexpr std::wstring_view whiteSpace = L" \t";

/// Appends a token with the values of a secret hidden. @return whether it was one
bool appendMasked(std::wstring& masked, std::wstring_view token)
{
    const std::size_t equals = token.find(L'=');
    // Quotes are for the system alone, also within a name; the other half of a pair may stand in the value.
    std::wstring name(token.substr(0, equals));
    std::erase(name, L'"');
    const bool secret = equals != std::wstring_view::npos &&
                        (name.find(L"password") != std::wstring::npos || name.find(L"pwd") != std::wstring::npos);
    if (!secret) {
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

} // namespace

std::wstring maskCommandLine(std::wstring_view commandLine)
{
    std::wstring masked;
    for (std::size_t begin = commandLine.find_first_not_of(whiteSpace); begin < commandLine.size();
         begin = commandLine.find_first_not_of(whiteSpace, begin)) {
        const std::size_t end = argumentEnd(commandLine, begin);
        masked += masked.empty() ? L"" : L" ";
        appendMaskedArgument(masked, commandLine.substr(begin, end - begin));
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
