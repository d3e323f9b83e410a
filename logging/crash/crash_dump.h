#pragma once

#include <windows.h>

#include <dbghelp.h>

#include <string>

/// Writes a dump of this process as the calling thread's exception left it. A dump that could not be
/// written whole is removed. Every failure is logged at Error; nothing is thrown.
/// @param fileName           full path; its directory is not created
/// @param exceptionPointers  not null
void internalDumpMiniDump(
    const std::wstring& fileName, EXCEPTION_POINTERS* exceptionPointers, MINIDUMP_TYPE dumpType) noexcept;
