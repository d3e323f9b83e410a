#include "logging/console.h"

#include <windows.h>

#include <cstdio>

bool hasConsole() noexcept
{
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    return output && output != INVALID_HANDLE_VALUE;
}

bool writeConsole(const std::string& text) noexcept
{
    return !hasConsole() || (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0);
}
