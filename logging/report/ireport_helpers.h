#pragma once

#include "logging/settings/log_level.h"
#include "runtime/vdatetime.h"

#include <cstdint>
#include <memory>
#include <string>

namespace SendErrorReport {

/// One child process that runs the panel's reporting utility.
class IProcessHelper
{
public:
    virtual ~IProcessHelper() = default;
    virtual void start() = 0;
    /// Writes the whole standard input of the process and closes it.
    virtual void writeInput(const std::string& data) = 0;
};

/// The system calls of the error reports. Every operation except getLocalTime may throw.
class ISystemHelper
{
public:
    virtual ~ISystemHelper() = default;
    /// Whether a report of this record may be sent.
    virtual bool isFeedbackEnabled(LogLevel level, const std::wstring& message) = 0;
    /// The panel's installation directory.
    virtual std::wstring getProductRoot() = 0;
    /// The panel's data directory.
    virtual std::wstring getProductData() = 0;
    /// "20261116T050212"
    virtual std::wstring getUtcTimestamp() = 0;
    /// The running executable's full path.
    virtual std::wstring getModuleFileName() = 0;
    /// This process's command line, passwords unmasked.
    virtual std::wstring getCommandLine() = 0;
    virtual std::uint32_t getProcessId() = 0;
    virtual std::uint32_t getThreadId() = 0;
    /// A process that is not started yet. Throws when the command line's program does not exist.
    virtual std::shared_ptr<IProcessHelper> createProcess(const std::wstring& commandLine) = 0;
    virtual bool fileExists(const std::wstring& path) = 0;
    /// The file's bytes.
    virtual std::string readFile(const std::wstring& path) = 0;
    virtual VDateTime getLocalTime() = 0;
};

} // namespace SendErrorReport
