#include "runtime/text/letter_case.h"

#include "runtime/failure/vosexception.h"

#include <windows.h>

#include <utility>

namespace {

std::wstring mapped(std::wstring text, DWORD map)
{
    const std::wstring source = text;
    const int length = static_cast<int>(text.size()); // one letter becomes one letter
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
