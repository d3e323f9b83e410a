#pragma once

#include "logging/settings/log_level.h"

#include <windows.h>

#include <string>

/// The Windows event log "Kelvo", written under a source named after the running program.
class EventLog
{
public:
    EventLog() = default;
    EventLog(const EventLog&) = delete;
    EventLog& operator=(const EventLog&) = delete;
    ~EventLog();

    /// The source's handle, registered at the first call. The caller must not close it.
    /// @throws vexception when the log or the source cannot be registered
    HANDLE handle();

    /// Reports one record. After a failed report the next call registers the source again.
    /// @throws as handle() does
    void report(LogLevel level, const std::wstring& message);

private:
    HANDLE eventSource_ = nullptr;
    std::wstring sourceName_;
};
