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

void replaceAll(std::string& text, std::string_view what, std::string_view with)
{
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
        text.replace(at, what.size(), with);
}

/// The text with "\n" for every line end and U+FFFD for zero characters.
std::string plain(std::string text)
{
    replaceAll(text, "\r\n", "\n");
    replaceAll(text, std::string_view("\0", 1), "\xef\xbf\xbd");
    return text;
}

bool flushed(bool written) noexcept
{
    // The C runtime may report a failed write as the stream's error alone.
    return std::fflush(stdout) == 0 && written && !std::ferror(stdout);
}

bool writeToConsole(HANDLE console, std::string lines)
{
    replaceAll(lines, "\n", "\r\n");
    const std::wstring text = toWide(lines, utf8CodePage);
    constexpr std::size_t largest = 8192; // WriteConsole fails when the console's heap has no room for the text
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
    const std::string lines = plain(text);
    if (isConsole(output))
        return writeToConsole(output, lines);
    return flushed(std::fwrite(lines.data(), 1, lines.size(), stdout) == lines.size());
}

bool writeStandardOutput(const std::wstring& text)
{
    const HANDLE output = standardOutput();
    if (output && isConsole(output))
        return writeToConsole(output, plain(toNarrow(text, utf8CodePage)));
    return !output || flushed(std::fputws(text.c_str(), stdout) >= 0);
}
