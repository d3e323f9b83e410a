#pragma once

#include "logging/settings/log_level.h"
#include "runtime/failure/vexception.h"

#include <string>

/// A further sink of log records, registered with LogManager::addHandler. The log manager does not own it and drops
/// its exceptions.
class ILogHandler
{
public:
    virtual ~ILogHandler() = default;
    /// Logs an exception. The default passes its full text to the other overload.
    virtual void log(LogLevel level, const vexception& failure) { log(level, failure.fullText()); }
    virtual void log(LogLevel level, const std::wstring& message) = 0;
};
