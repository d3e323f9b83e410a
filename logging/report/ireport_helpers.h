#pragma once

#include "logging/settings/log_level.h"
#include "runtime/vdatetime.h"

#include <cstdint>
#include <memory>
#include <string>

namespace SendErrorReport {

/// The panel's reporting utility, as one child process.
class IProcessHelper
{
public:
    virtual ~IProcessHelper() = default;
    virtual void start() = 0;
    /// Hands it all of its standard input; there is no more behind it.
    virtual void writeInput(const std::string& data) = 0;
};

/// All that the error reports ask of the system. Every operation but the last may fail with an exception.
class ISystemHelper
{
public:
    virtual ~ISystemHelper() = default;
    /// Whether the product's owner lets reports be sent, this one too.
    virtual bool isFeedbackEnabled(LogLevel level, const std::wstring& message) = 0;
    /// The panel's installation directory.
    virtual std::wstring getProductRoot() = 0;
    /// The panel's data directory.
    virtual std::wstring getProductData() = 0;
    /// "20261116T050212"
    virtual std::wstring getUtcTimestamp() = 0;
    /// The running executable's full path.
    virtual std::wstring getModuleFileName() = 0;
    /// This process's own, with its secrets.
    virtual std::wstring getCommandLine() = 0;
    virtual std::uint32_t getProcessId() = 0;
    virtual std::uint32_t getThreadId() = 0;
    /// A process that is not started yet. Fails when it could not be started anyway.
    virtual std::shared_ptr<IProcessHelper> createProcess(const std::wstring& commandLine) = 0;
    virtual bool fileExists(const std::wstring& path) = 0;
    /// The file's bytes.
    virtual std::string readFile(const std::wstring& path) = 0;
    virtual VDateTime getLocalTime() = 0;
};

} // namespace SendErrorReport
