#pragma once

#include "runtime/failure/vexception.h"

#include <string>

/// Receives the log records of the management service's client. The log manager lies in a higher layer, which the
/// client may not include.
class IServiceLog
{
public:
    virtual ~IServiceLog() = default;
    virtual void info(const std::wstring& message) noexcept = 0;
    virtual void warning(const std::wstring& message) noexcept = 0;
    virtual void error(const vexception& failure) noexcept = 0;
};
