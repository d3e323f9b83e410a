#include "devpanel/install.h"

#include "config/product_config.h"
#include "config/registry.h"
#include "devpanel/pipe_service.h"
#include "runtime/failure/vosexception.h"
#include "runtime/handle/handles.h"
#include "runtime/module.h"
#include "runtime/path.h"

namespace {

void makeDirectory(const std::wstring& path)
{
    if (!CreateDirectoryW(path.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
        throwOsError(GetLastError(), L"CreateDirectory '" + path + L"'", {"installPanel"});
}

void copyTo(const std::wstring& source, const std::wstring& target)
{
    DeleteFileW(target.c_str()); // it may be a hard link to a file of another Wine prefix; that file must not change
    if (!CopyFileW(source.c_str(), target.c_str(), FALSE))
        throwOsError(GetLastError(), L"CopyFile '" + target + L"'", {"installPanel"});
}

void installService(const std::wstring& program)
{
    const UniqueService manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CREATE_SERVICE));
    const std::wstring commandLine = L"\"" + program + L"\" service";
    const UniqueService service(CreateServiceW(manager.get(), L"KelvoSQLServer", L"Kelvo SQL server (stand-in)",
        SERVICE_QUERY_STATUS, SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL,
        commandLine.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr));
    if (!service && GetLastError() != ERROR_SERVICE_EXISTS)
        throwOsError(GetLastError(), L"CreateService", {"installPanel"});
}

} // namespace

void installPanel()
{
    const std::wstring root = panelRoot();
    for (const wchar_t* directory : {L"", L"admin", L"admin\\bin", L"admin\\bin64", L"admin\\logs", L"etc",
             L"etc\\crashdumps", L"var", L"var\\dumps", L"tmp"})
        makeDirectory(path::combine(root, directory));

    const std::wstring here = path::combine(moduleFileName(), L"..");
    for (const wchar_t* bin : {L"admin\\bin", L"admin\\bin64"}) {
        for (const wchar_t* utility : {L"sysinfo", L"websrvmng", L"shutdown", L"mysqlmng_adm", L"send-error-report"})
            copyTo(here + L"\\devutility.exe", path::combine(root, bin) + L"\\" + utility + L".exe");
    }
    const std::wstring program = path::combine(root, L"admin\\bin64\\devpanel.exe");
    copyTo(moduleFileName(), program);
    installService(program);

    const UniqueRegistryKey key =
        registry::create(HKEY_LOCAL_MACHINE, config::configKey, KEY_WRITE | KEY_WOW64_32KEY);
    registry::set(key.get(), L"PRODUCT_ROOT_D", root);
    registry::set(key.get(), L"PRODUCT_DATA_D", root);
    registry::set(key.get(), L"zrmpipe", panelPipe);
}
