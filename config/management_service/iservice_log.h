#pragma once

#include "runtime/failure/vexception.h"

#include <string>

/// Log of the management service's client. An interface, because logging/ lies above config/. Calls never throw.
class IServiceLog
{
public:
    virtual ~IServiceLog() = default;
    virtual void info(const std::wstring& message) noexcept = 0;
    virtual void warning(const std::wstring& message) noexcept = 0;
    virtual void error(const vexception& failure) noexcept = 0;
};
