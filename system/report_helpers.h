#pragma once

#include "logging/report/ireport_helpers.h"
#include "system/process/vexecutil.h"

namespace SendErrorReport {

/// A hidden child that nobody waits for. Of this process's handles it gets none, so it keeps nobody waiting either.
class DefaultProcessHelper : public IProcessHelper
{
public:
    /// @param commandLine  begins with the absolute path of the executable
    explicit DefaultProcessHelper(const std::wstring& commandLine);
    /// @throws vosexception as vexecutil::start does
    void start() override;
    /// Gives a child that does not read less than two seconds.
    /// @throws vosexception as ExecPipe::write does
    void writeInput(const std::string& data) override;

private:
    vexecutil process_;
};

/// The real system, and the product's settings in its registry.
class DefaultSystemHelper : public ISystemHelper
{
public:
    /// @throws vexception when the switch has the wrong type
    bool isFeedbackEnabled(LogLevel level, const std::wstring& message) override;
    std::wstring getProductRoot() override;
    std::wstring getProductData() override;
    std::wstring getUtcTimestamp() override;
    std::wstring getModuleFileName() override;
    std::wstring getCommandLine() override;
    std::uint32_t getProcessId() override;
    std::uint32_t getThreadId() override;
    /// @throws VFileNotFoundException when the executable is not there
    std::shared_ptr<IProcessHelper> createProcess(const std::wstring& commandLine) override;
    bool fileExists(const std::wstring& path) override;
    /// At most the file's first MiB. @throws vosexception
    std::string readFile(const std::wstring& path) override;
    VDateTime getLocalTime() override;
};

} // namespace SendErrorReport
