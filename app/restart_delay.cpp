#include "app/restart_delay.h"

#include "logging/log_manager.h"
#include "runtime/text/mask.h"

#include <algorithm>
#include <cwchar>
#include <cwctype>

namespace {

/// Whether the text is a decimal number that is the value, with blanks and a sign before it.
bool isWholly(std::uint32_t value, const std::wstring& text)
{
    auto at = std::find_if_not(text.begin(), text.end(), [](wchar_t blank) { return std::iswspace(blank) != 0; });
    const bool isNegative = at != text.end() && *at == L'-';
    if (isNegative || (at != text.end() && *at == L'+'))
        ++at;
    if (at == text.end() || (isNegative && value != 0))
        return false;
    std::uint64_t number = 0;
    for (; at != text.end(); ++at) {
        if (*at < L'0' || *at > L'9')
            return false;
        number = std::min<std::uint64_t>(number * 10 + (*at - L'0'), UINT32_MAX);
    }
    return number == value;
}

} // namespace

std::uint32_t restartDelay(const std::wstring& text)
{
    const auto seconds = static_cast<std::uint32_t>(_wtoi(text.c_str()));
    if (!isWholly(seconds, text)) {
        LogManager::logForAdministrators(L"--timeout=%s is not a number of seconds from 0 to %d. Used instead: %lu",
            maskArgument(text).c_str(), INT32_MAX, seconds);
    }
    return seconds;
}
