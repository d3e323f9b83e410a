#include "system/panel/panel_directories.h"

#include "config/management_service/kelvo_srv_client.h"
#include "logging/log_manager.h"
#include "runtime/path.h"

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

std::wstring directory(const wchar_t* name)
{
    static ServiceLog log;
    return path::normalise(KelvoSrvClient::getInstance(log).getString(name));
}

std::wstring absoluteRoot()
{
    std::wstring root = directory(L"PRODUCT_ROOT_D");
    // Programs in it are run as administrator, so it must not depend on the current directory.
    if (!path::isAbsolute(root)) {
        throw vexception(L"The product's root directory is not an absolute path: '" + root + L"'",
            {"panel::installationDirectory"});
    }
    return root;
}

} // namespace

std::wstring panel::installationDirectory()
{
    static const std::wstring root = absoluteRoot();
    return root;
}

std::wstring panel::dumpTempDirectory()
{
    return directory(L"DumpTempDir");
}
