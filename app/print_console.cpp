#include "app/print_console.h"

#include "logging/console.h"
#include "runtime/vexception.h"

#include <cstdio>

void detail::printWide(const std::wstring& text)
{
    if (!hasConsole())
        return;
    // Flushed at once: it stands before whatever is logged next, also when the program fails.
    if (std::fputws(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0)
        throw vexception(L"Unable to write to standard output", {"printConsole"});
}
