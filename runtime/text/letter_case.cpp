#include "runtime/text/letter_case.h"

#include "runtime/failure/vosexception.h"

#include <windows.h>

#include <utility>

namespace {

std::wstring mapped(std::wstring text, DWORD map)
{
    const std::wstring source = text;
    const int length = static_cast<int>(text.size()); // these mappings keep the length
    if (length > 0 &&
        !LCMapStringEx(LOCALE_NAME_INVARIANT, map, source.c_str(), length, text.data(), length, nullptr, nullptr, 0))
        throwLastError({L"LCMapStringEx"}, {"letter_case::mapped"});
    return text;
}

} // namespace

std::wstring lowerCase(std::wstring text)
{
    return mapped(std::move(text), LCMAP_LOWERCASE);
}

std::wstring upperCase(std::wstring text)
{
    return mapped(std::move(text), LCMAP_UPPERCASE);
}

bool lessIgnoringCase(std::wstring_view left, std::wstring_view right)
{
    return lowerCase(std::wstring(left)) < lowerCase(std::wstring(right));
}

bool equalIgnoringCase(std::wstring_view left, std::wstring_view right)
{
    return left.size() == right.size() && startsWithIgnoringCase(left, right);
}

bool startsWithIgnoringCase(std::wstring_view text, std::wstring_view prefix)
{
    return text.size() >= prefix.size() &&
           lowerCase(std::wstring(text.substr(0, prefix.size()))) == lowerCase(std::wstring(prefix));
}
