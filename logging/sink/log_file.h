#pragma once

#include "runtime/vmutex.h"

#include <optional>
#include <string>

/// One of the product's log files, "kelvolog_<name><YYYYMMDD>.log" below the installation directory; each
/// record opens and closes it. Other processes of the product write to the same file, hence the named mutex.
class LogFile
{
public:
    /// @param name            the log's short name; empty for the running program's
    /// @param enabledDefault  whether it is written when the value "log_<name>_enabled" is not set
    /// @throws vexception when a value has the wrong type or the mutex cannot be had
    explicit LogFile(std::wstring name, bool enabledDefault);

    /// Appends one line: time stamp, process and thread id, the text. Nothing when the log is not enabled.
    /// @throws vosexception when the file cannot be written; directories are not created
    void write(const std::wstring& text);

private:
    std::wstring name_;
    std::wstring directory_;
    std::optional<VMutex> mutex_; // empty when the log is not enabled
};
