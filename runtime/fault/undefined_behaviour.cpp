// Only in builds with checks of undefined behaviour. A failed check is an illegal instruction (ud2). It is not
// translated like other faults: the process ends with a code that no test expects of a run.

#include <windows.h>

#include <cstdio>

namespace {

LONG CALLBACK endProcess(EXCEPTION_POINTERS* pointers)
{
    if (pointers->ExceptionRecord->ExceptionCode != EXCEPTION_ILLEGAL_INSTRUCTION)
        return EXCEPTION_CONTINUE_SEARCH;
    char text[64];
    const int length =
        snprintf(text, sizeof text, "Undefined behaviour at %p\r\n", pointers->ExceptionRecord->ExceptionAddress);
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(length), &written, nullptr);
    TerminateProcess(GetCurrentProcess(), EXCEPTION_ILLEGAL_INSTRUCTION);
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

extern "C" __attribute__((constructor(101))) void watchUndefinedBehaviour()
{
    AddVectoredExceptionHandler(1, endProcess);
}
