#include "runtime/text/code_page.h"

#include "runtime/failure/vosexception.h"

#include <climits>

namespace {

/// @param convert  convert(target, size): the system's call; returns 0 for a failure, the size for a null target
template <typename Text, typename Convert>
Text convertText(std::size_t length, const wchar_t* failure, RaiseSite site, Convert convert)
{
    Text result;
    if (length == 0)
        return result; // the system's calls fail for length 0
    if (length > INT_MAX)
        throwOsError(ERROR_INVALID_PARAMETER, failure, site);
    const int size = convert(nullptr, 0);
    if (size > 0) {
        result.resize(static_cast<std::size_t>(size));
        if (convert(result.data(), size) == size)
            return result;
    }
    throwLastError({failure}, site);
}

} // namespace

std::string toNarrow(std::wstring_view text, unsigned codePage)
{
    // sic: "stringz" is part of the interface with the panel's log readers
    return convertText<std::string>(text.size(), L"Maps a wide-character (Unicode) string to a character stringz",
        {"toNarrow"}, [&](char* target, int size) {
            return WideCharToMultiByte(
                codePage, 0, text.data(), static_cast<int>(text.size()), target, size, nullptr, nullptr);
        });
}

std::wstring toWide(std::string_view text, unsigned codePage)
{
    return convertText<std::wstring>(text.size(),
        L"Maps a character string to a wide-character (Unicode) string failed", {"toWide"},
        [&](wchar_t* target, int size) {
            return MultiByteToWideChar(codePage, 0, text.data(), static_cast<int>(text.size()), target, size);
        });
}
