#pragma once

#include "logging/report/ireport_helpers.h"
#include "system/process/vexecutil.h"

namespace SendErrorReport {

/// A hidden child whose end is not awaited. It inherits only its input pipe and NUL, so a reader of our standard
/// output does not wait for it.
class DefaultProcessHelper : public IProcessHelper
{
public:
    /// @param commandLine  begins with the absolute path of the executable
    explicit DefaultProcessHelper(const std::wstring& commandLine);
    /// @throws vosexception as vexecutil::start
    void start() override;
    /// Writes to the child's standard input; fails after less than two seconds if the child does not read.
    /// @throws vosexception as ExecPipe::write
    void writeInput(const std::string& data) override;

private:
    vexecutil process_;
};

/// The system helper of the program: reads the product's settings in the registry.
class DefaultSystemHelper : public ISystemHelper
{
public:
    /// False only for the setting "false". @throws vexception when the setting has another type than text
    bool isFeedbackEnabled(LogLevel level, const std::wstring& message) override;
    std::wstring getProductRoot() override;
    std::wstring getProductData() override;
    std::wstring getUtcTimestamp() override;
    std::wstring getModuleFileName() override;
    std::wstring getCommandLine() override;
    std::uint32_t getProcessId() override;
    std::uint32_t getThreadId() override;
    /// @throws VFileNotFoundException when the executable is missing
    std::shared_ptr<IProcessHelper> createProcess(const std::wstring& commandLine) override;
    bool fileExists(const std::wstring& path) override;
    /// The whole file's bytes. @throws vosexception; std::bad_alloc
    std::string readFile(const std::wstring& path) override;
    VDateTime getLocalTime() override;
};

} // namespace SendErrorReport
