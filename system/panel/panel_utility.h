#pragma once

#include "system/process/vexecutil.h"

#include <cstdint>
#include <string>

// The panel's command-line utilities, in its installation directory.

/// Full path of a utility's executable in admin\bin64 or admin\bin. The name may omit ".exe".
/// @throws vexception "Unable to find path of '<name>'"
std::wstring findUtilPath(const std::wstring& name, bool bin64);

/// Starts a utility without a window and with its output captured.
/// @param input   bytes for its standard input; null for none
/// @param runner  gets the started process
/// @throws vexception
void startKelvoUtilInternal(
    const std::wstring& name, const std::wstring& arguments, const std::string* input, vexecutil& runner, bool bin64);

/// Runs a utility and waits for its end without time-out, also when the run fails in this process: a started utility
/// is never ended. Logs a Warning when its end cannot be awaited, or its output was cut off (ExecPipe::read).
/// @param output        gets its standard output and error, merged, converted from the ANSI code page; may be null
/// @param throwOnError  false: swallows a failure and returns the exit code, -1 when there was none
/// @return 0 on success
/// @throws vexception when the utility cannot be run or its exit code is not 0
std::uint32_t execKelvoUtil(const std::wstring& name, const std::wstring& arguments, std::wstring* output,
    bool throwOnError, const std::string* input, bool bin64);
