#pragma once

#include <string>

/// Whether the whole text is as the pattern says: '@' stands for one digit, '#' for a run of them, '~' for anything,
/// all else for itself. (Not <regex>: GCC 14 warns of overflows in it that are none.)
template <typename Char>
bool fits(const std::basic_string<Char>& text, const std::basic_string<Char>& pattern)
{
    const auto isDigit = [&](std::size_t at) { return at < text.size() && text[at] >= '0' && text[at] <= '9'; };
    std::size_t at = 0, next = 0, anyUntil = 0, afterAny = 0; // after the last '~': where it ends in both
    while (at < text.size()) {
        const Char wanted = next < pattern.size() ? pattern[next] : Char{};
        if (wanted == '~') {
            anyUntil = at;
            afterAny = ++next;
        } else if (wanted == '#' && isDigit(at)) {
            while (isDigit(at))
                ++at;
            ++next;
        } else if (next < pattern.size() && (wanted == '@' ? isDigit(at) : wanted == text[at])) {
            ++at;
            ++next;
        } else if (afterAny != 0) {
            at = ++anyUntil;
            next = afterAny;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('~', next) == pattern.npos;
}

/// The text without line breaks and tabs.
inline std::string oneLine(std::string text)
{
    std::erase_if(text, [](char letter) { return letter == '\r' || letter == '\n' || letter == '\t'; });
    return text;
}
