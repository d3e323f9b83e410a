#pragma once

#include "system/process/vexecutil.h"

#include <cstdint>
#include <string>

// The panel's command-line utilities, found below its installation directory.

/// Full path of a utility's executable, in admin\bin64 or admin\bin; ".exe" may be left out of the name.
/// @throws vexception "Unable to find path of '<name>'"
std::wstring findUtilPath(const std::wstring& name, bool bin64);

/// Fills the runner for a hidden run with captured output and starts it.
/// @param input  bytes for its standard input, null for none
/// @throws vexception
void startKelvoUtilInternal(
    const std::wstring& name, const std::wstring& arguments, const std::string* input, vexecutil& runner, bool bin64);

/// Runs a utility to its end, however long it takes.
/// @param output        gets what it wrote, standard output and error merged, from the ANSI code page; may be null
/// @param throwOnError  false: a failure is swallowed and the exit code returned, -1 when there was none
/// @return 0 on success
/// @throws vexception when the utility cannot be run or exits with a code other than 0
std::uint32_t execKelvoUtil(const std::wstring& name, const std::wstring& arguments, std::wstring* output,
    bool throwOnError, const std::string* input, bool bin64);
