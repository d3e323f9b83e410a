#include "logging/sink/standard_output.h"

#include <windows.h>

#include <cstdio>

namespace {

bool hasStandardOutput() noexcept
{
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    return output && output != INVALID_HANDLE_VALUE;
}

} // namespace

bool writeStandardOutput(const std::string& text) noexcept
{
    return !hasStandardOutput() || (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0);
}

bool writeStandardOutput(const std::wstring& text) noexcept
{
    return !hasStandardOutput() || (std::fputws(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0);
}
