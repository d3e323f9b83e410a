#include "runtime/fault/process_end.h"

#include <windows.h>

void writeLastLine(std::string_view text) noexcept
{
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

void endProcess() noexcept
{
    TerminateProcess(GetCurrentProcess(), 1);
    for (;;) { // not reached
    }
}
