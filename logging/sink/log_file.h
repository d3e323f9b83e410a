#pragma once

#include "runtime/vmutex.h"

#include <optional>
#include <string>

/// A log file of the product, "admin\logs\kelvolog_<name><YYYYMMDD>.log" in the installation directory. A named mutex
/// serialises the processes that write to it.
class LogFile
{
public:
    /// @param name            the log's short name; empty for the running program's title
    /// @param enabledDefault  whether the log is enabled when the value "log_<name>_enabled" is not set
    /// @throws vexception when a value has the wrong type or the mutex cannot be opened
    explicit LogFile(std::wstring name, bool enabledDefault);

    /// Appends one line: time stamp, process id, thread id, text. Does nothing when the log is disabled. Creates the
    /// file, not its directories. @throws vosexception when the file cannot be written
    void write(const std::wstring& text);

private:
    std::wstring name_;
    std::wstring directory_;
    std::optional<VMutex> mutex_; // empty when the log is disabled
};
