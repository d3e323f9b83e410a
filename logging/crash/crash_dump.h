#pragma once

#include <windows.h>

#include <dbghelp.h>

#include <string>

/// Writes a dump of this process with the calling thread's exception. Removes an incomplete dump. A failure is
/// logged at Error before the next record, as this runs inside the fault; never throws. A dump that is not written
/// within two minutes ends the process with exit code 1 and a line on standard output.
/// @param fileName           full path; its directory is not created
/// @param exceptionPointers  not null
void internalDumpMiniDump(
    const std::wstring& fileName, EXCEPTION_POINTERS* exceptionPointers, MINIDUMP_TYPE dumpType) noexcept;
