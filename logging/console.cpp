#include "logging/console.h"

#include <windows.h>

#include <cstdio>

bool writeConsole(const std::string& text) noexcept
{
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    if (!output || output == INVALID_HANDLE_VALUE)
        return true;
    return std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
}
