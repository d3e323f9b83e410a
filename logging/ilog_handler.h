#pragma once

#include "logging/settings/log_level.h"
#include "runtime/failure/vexception.h"

#include <string>

/// A sink of records besides the log manager's own. Registered with LogManager::addHandler, which does not
/// own it. What a handler throws is dropped.
class ILogHandler
{
public:
    virtual ~ILogHandler() = default;
    /// A logged exception; unless overridden, its full text goes to the other one.
    virtual void log(LogLevel level, const vexception& failure) { log(level, failure.fullText()); }
    virtual void log(LogLevel level, const std::wstring& message) = 0;
};
