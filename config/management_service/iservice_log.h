#pragma once

#include "runtime/failure/vexception.h"

#include <string>

/// Where the client of the management service says how its queries go; the log is on a floor above. Calls
/// never throw.
class IServiceLog
{
public:
    virtual ~IServiceLog() = default;
    virtual void info(const std::wstring& message) noexcept = 0;
    virtual void warning(const std::wstring& message) noexcept = 0;
    virtual void error(const vexception& failure) noexcept = 0;
};
