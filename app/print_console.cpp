#include "app/print_console.h"

#include "logging/standard_output.h"
#include "runtime/vexception.h"

void detail::printWide(const std::wstring& text)
{
    if (!writeStandardOutput(text))
        throw vexception(L"Unable to write to standard output", {"printConsole"});
}
