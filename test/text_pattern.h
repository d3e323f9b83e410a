#pragma once

#include <string>

/// Whether the whole text matches the pattern. '@' matches one digit, '#' one or more digits, '~' any text. Every
/// other character matches itself. (GCC 14 gives false warnings of overflows in <regex>.)
template <typename Char>
bool fits(const std::basic_string<Char>& text, const std::basic_string<Char>& pattern)
{
    const auto isDigit = [&](std::size_t at) { return at < text.size() && text[at] >= '0' && text[at] <= '9'; };
    std::size_t at = 0, next = 0, anyUntil = 0, afterAny = 0; // the ends of the last '~' in text and pattern
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
