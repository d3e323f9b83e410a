#include "system/report_helpers.h"

#include "config/product_config.h"
#include "runtime/module.h"
#include "runtime/path.h"
#include "runtime/text/command_line.h"
#include "runtime/text/format.h"

namespace SendErrorReport {

DefaultProcessHelper::DefaultProcessHelper(const std::wstring& commandLine)
{
    process_.arguments = commandLine;
    process_.hideWindow = 1;
    process_.pipeStdin = true;
    process_.stdoutFile = L"NUL";
    process_.stderrToStdout = true;
}

void DefaultProcessHelper::start()
{
    process_.start();
}

void DefaultProcessHelper::writeInput(const std::string& data)
{
    constexpr DWORD patience = 1500; // ExecPipe waits half a second more if the child ends meanwhile
    process_.stdinPipe.write(data.data(), data.size(), ExecPipe::lastWrite, patience);
}

bool DefaultSystemHelper::isFeedbackEnabled(LogLevel, const std::wstring&)
{
    std::wstring text;
    return config::lookup(L"SendFeedback", text) != ERROR_SUCCESS || text != L"false";
}

std::wstring DefaultSystemHelper::getProductRoot()
{
    return config::installationDirectory();
}

std::wstring DefaultSystemHelper::getProductData()
{
    return config::dataDirectory();
}

std::wstring DefaultSystemHelper::getUtcTimestamp()
{
    SYSTEMTIME now;
    GetSystemTime(&now);
    return formatString(
        L"%04d%02d%02dT%02d%02d%02d", now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond);
}

std::wstring DefaultSystemHelper::getModuleFileName()
{
    return moduleFileName();
}

std::wstring DefaultSystemHelper::getCommandLine()
{
    return GetCommandLineW();
}

std::uint32_t DefaultSystemHelper::getProcessId()
{
    return GetCurrentProcessId();
}

std::uint32_t DefaultSystemHelper::getThreadId()
{
    return GetCurrentThreadId();
}

std::shared_ptr<IProcessHelper> DefaultSystemHelper::createProcess(const std::wstring& commandLine)
{
    const std::vector<std::wstring> words = splitArguments(commandLine);
    if (words.empty() || !fileExists(words.front())) {
        throwOsError(ERROR_FILE_NOT_FOUND, L"CreateProcess '" + commandLine + L"'",
            {"SendErrorReport::DefaultSystemHelper::createProcess"});
    }
    return std::make_shared<DefaultProcessHelper>(commandLine);
}

bool DefaultSystemHelper::fileExists(const std::wstring& path)
{
    return path::isFile(path);
}

std::string DefaultSystemHelper::readFile(const std::wstring& path)
{
    constexpr DWORD part = 1 << 16;
    std::string bytes;
    const UniqueFile file(
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    for (DWORD count = 1; count > 0;) {
        const std::size_t size = bytes.size();
        bytes.resize(size + part);
        if (!file || !ReadFile(file.get(), bytes.data() + size, part, &count, nullptr))
            throwLastError({L"ReadFile '", path, L"'"}, {"SendErrorReport::DefaultSystemHelper::readFile"});
        bytes.resize(size + count);
    }
    return bytes;
}

VDateTime DefaultSystemHelper::getLocalTime()
{
    return VDateTime::local();
}

} // namespace SendErrorReport
