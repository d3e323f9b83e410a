#pragma once

#include "runtime/failure/vexception.h"

#include <string>

/// Receives the log records of the management service's client, which may not include the log manager of a higher
/// floor.
class IServiceLog
{
public:
    virtual ~IServiceLog() = default;
    virtual void info(const std::wstring& message) noexcept = 0;
    virtual void warning(const std::wstring& message) noexcept = 0;
    virtual void error(const vexception& failure) noexcept = 0;
};
