#pragma once

#include "system/process/vexecutil.h"

#include <cstdint>
#include <string>

// The panel's command-line utilities, in its installation directory.

/// Full path of a utility's executable, in admin\bin64 or admin\bin; ".exe" may be left out of the name.
/// @throws vexception "Unable to find path of '<name>'"
std::wstring findUtilPath(const std::wstring& name, bool bin64);

/// Starts a utility without a window and with its output captured.
/// @param input   bytes for its standard input; null for none
/// @param runner  gets the started process
/// @throws vexception
void startKelvoUtilInternal(
    const std::wstring& name, const std::wstring& arguments, const std::string* input, vexecutil& runner, bool bin64);

/// Runs a utility to its end, without a time-out.
/// @param output        gets its standard output and standard error, decoded from the ANSI code page; may be null
/// @param throwOnError  whether a failure is thrown; false: the exit code is returned, -1 without one
/// @return 0 on success
/// @throws vexception when the utility cannot be run or its exit code is not 0
std::uint32_t execKelvoUtil(const std::wstring& name, const std::wstring& arguments, std::wstring* output,
    bool throwOnError, const std::string* input, bool bin64);
