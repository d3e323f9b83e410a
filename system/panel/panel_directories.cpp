#include "system/panel/panel_directories.h"

#include "config/management_service/kelvo_srv_client.h"
#include "logging/log_manager.h"
#include "runtime/file_location.h"
#include "runtime/path.h"
#include "system/panel/answer_confirmation.h"

namespace {

struct ServiceLog : IServiceLog
{
    void info(const std::wstring& message) noexcept override
    {
        LogManager::log(LogLevel::Info, L"%s", message.c_str());
    }
    void warning(const std::wstring& message) noexcept override
    {
        LogManager::log(LogLevel::Warning, L"%s", message.c_str());
    }
    void error(const vexception& failure) noexcept override { LogManager::log(LogLevel::Error, failure); }
};

struct Answer
{
    std::wstring directory;
    bool needsConfirmation;
    bool isAmbiguous; // the system finds another directory at the path as it was answered
};

Answer ask(const wchar_t* name)
{
    static ServiceLog log;
    KelvoSrvClient& service = KelvoSrvClient::getInstance(log);
    const std::wstring answered = service.getString(name);
    std::wstring directory = path::normalise(answered);
    const bool isAmbiguous = answered != directory && location::isOther(answered, directory);
    return {std::move(directory), service.needsConfirmation(), isAmbiguous};
}

std::wstring askForInstallationDirectory()
{
    const Answer answer = ask(L"PRODUCT_ROOT_D");
    // Utilities run from there as administrator. A relative path would depend on the caller's current directory.
    if (!path::isAbsolute(answer.directory)) {
        throw vexception(L"The product's root directory is not an absolute path: '" + answer.directory + L"'",
            {"panel::installationDirectory"});
    }
    if (answer.isAmbiguous) {
        throw vexception(L"The path of the product's root directory is ambiguous: '" + answer.directory + L"'",
            {"panel::installationDirectory"});
    }
    return answer.needsConfirmation ? panel::confirmedInstallationDirectory(answer.directory) : answer.directory;
}

// Of the last answer.
bool dumpTempNeedsConfirmation = false, isDumpTempAmbiguous = false;
std::wstring knownRoot;

} // namespace

std::wstring panel::installationDirectory()
{
    static const std::wstring root = knownRoot = askForInstallationDirectory();
    return root;
}

std::wstring panel::knownInstallationDirectory()
{
    return knownRoot;
}

std::wstring panel::dumpTempDirectory()
{
    Answer answer = ask(L"DumpTempDir");
    dumpTempNeedsConfirmation = answer.needsConfirmation;
    isDumpTempAmbiguous = answer.isAmbiguous;
    return std::move(answer.directory);
}

bool panel::mayCleanDumpTempDirectory(const std::wstring& directory)
{
    const wchar_t* const reason =
        isDumpTempAmbiguous ? L"The path of the directory of temporary dumps '%s' is ambiguous. It is not cleaned"
        : dumpTempNeedsConfirmation && !isTemporaryDirectory(directory)
            ? L"The registry does not confirm the directory of temporary dumps '%s'. It is not cleaned"
            : nullptr;
    if (reason)
        LogManager::logForAdministrators(reason, directory.c_str());
    return !reason;
}
