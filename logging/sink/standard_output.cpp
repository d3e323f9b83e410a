#include "logging/sink/standard_output.h"

#include "runtime/text/code_page.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace {

/// Standard output; null when the process has none.
HANDLE standardOutput() noexcept
{
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    return output == INVALID_HANDLE_VALUE ? nullptr : output;
}

bool isConsole(HANDLE output) noexcept
{
    DWORD mode = 0;
    return GetConsoleMode(output, &mode);
}

template <typename Text>
void replaceAll(Text& text, const Text& what, const Text& with)
{
    for (std::size_t at = 0; (at = text.find(what, at)) != Text::npos; at += with.size())
        text.replace(at, what.size(), with);
}

/// The text for a stream in text mode.
std::string forTextMode(std::string text)
{
    replaceAll<std::string>(text, "\r\n", "\n");
    replaceAll<std::string>(text, std::string(1, '\0'), "\xef\xbf\xbd"); // U+FFFD
    return text;
}

bool flushed(bool written) noexcept
{
    return std::fflush(stdout) == 0 && written && !std::ferror(stdout);
}

bool writeToConsole(HANDLE console, std::wstring text)
{
    replaceAll<std::wstring>(text, L"\r\n", L"\n");
    replaceAll<std::wstring>(text, L"\n", L"\r\n");
    replaceAll<std::wstring>(text, std::wstring(1, L'\0'), L"\xfffd");
    constexpr std::size_t largest = 8192; // WriteConsole refuses texts beyond some 64 KiB on older systems
    for (std::wstring_view rest = text; !rest.empty();) {
        std::size_t count = std::min(rest.size(), largest);
        if (count < rest.size() && IS_HIGH_SURROGATE(rest[count - 1]))
            --count;
        DWORD written = 0;
        if (!WriteConsoleW(console, rest.data(), static_cast<DWORD>(count), &written, nullptr) || written == 0)
            return false;
        rest.remove_prefix(written);
    }
    return true;
}

} // namespace

bool writeStandardOutput(const std::string& text)
{
    const HANDLE output = standardOutput();
    if (!output)
        return true;
    if (isConsole(output))
        return writeToConsole(output, toWide(text, utf8CodePage));
    const std::string bytes = forTextMode(text);
    return flushed(std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size());
}

bool writeStandardOutput(const std::wstring& text)
{
    const HANDLE output = standardOutput();
    if (!output)
        return true;
    if (isConsole(output))
        return writeToConsole(output, text);
    return flushed(std::fputws(text.c_str(), stdout) >= 0);
}
