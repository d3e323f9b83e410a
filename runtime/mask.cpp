#include "runtime/mask.h"

#include "runtime/command_line.h"

#include <algorithm>

namespace {

constexpr std::wstring_view separators = L" \t";

void appendMasked(std::wstring& masked, std::wstring_view token)
{
    const std::size_t equals = token.find(L'=');
    const std::wstring_view name = token.substr(0, equals);
    const bool secret =
        name.find(L"password") != std::wstring_view::npos || name.find(L"pwd") != std::wstring_view::npos;
    if (!secret || equals == std::wstring_view::npos) {
        masked += token;
        return;
    }
    // The quotes go: their other half may stand behind the "=" and is dropped with the value.
    std::copy_if(name.begin(), name.end(), std::back_inserter(masked), [](wchar_t c) { return c != L'"'; });
    for (auto parts = std::count(token.begin(), token.end(), L'='); parts > 0; --parts)
        masked += L"=*";
}

} // namespace

std::wstring maskCommandLine(std::wstring_view commandLine)
{
    std::wstring masked;
    masked.reserve(commandLine.size());
    for (std::size_t begin = 0; begin < commandLine.size();) {
        if (separators.find(commandLine[begin]) != std::wstring_view::npos) {
            masked += commandLine[begin++];
            continue;
        }
        const std::size_t end = argumentEnd(commandLine, begin);
        appendMasked(masked, commandLine.substr(begin, end - begin));
        begin = end;
    }
    return masked;
}

std::wstring maskArgument(std::wstring_view argument)
{
    std::wstring masked;
    appendMasked(masked, argument);
    return masked;
}
