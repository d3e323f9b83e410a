#include "app/print_console.h"

#include "logging/sink/standard_output.h"
#include "runtime/failure/vexception.h"

void detail::printWide(const std::wstring& text)
{
    if (!writeStandardOutput(text))
        throw vexception(L"Unable to write to standard output", {"printConsole"});
}
