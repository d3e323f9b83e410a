#include "proof/runner/traces.h"

#include "config/registry.h"
#include "proof/runner/account.h"
#include "proof/runner/disk.h"
#include "runtime/handle/handles.h"
#include "runtime/text/code_page.h"
#include "test/kit.h"

#include <windows.h>

#include <winevt.h>

namespace {

constexpr wchar_t markKey[] = L"SOFTWARE\\mendkit_proof", servicePrefix[] = L"mendkit_proof";

std::wstring marked(const wchar_t* name)
{
    wchar_t text[1024] = {};
    DWORD size = sizeof text;
    RegGetValueW(HKEY_LOCAL_MACHINE, markKey, name, RRF_RT_REG_SZ, nullptr, text, &size);
    return text;
}

/// The file of the event log "Kelvo". The event log service keeps it open until the machine restarts.
std::wstring logFile()
{
    wchar_t system[MAX_PATH];
    GetSystemDirectoryW(system, MAX_PATH);
    return std::wstring(system) + L"\\winevt\\Logs\\Kelvo.evtx";
}

void removeService(SC_HANDLE manager, const wchar_t* name)
{
    const UniqueService service(OpenServiceW(manager, name, SERVICE_STOP | DELETE));
    SERVICE_STATUS status;
    ControlService(service.get(), SERVICE_CONTROL_STOP, &status);
    DeleteService(service.get());
}

void removeServices()
{
    const UniqueService manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT | SC_MANAGER_ENUMERATE_SERVICE));
    DWORD needed = 0, count = 0, resume = 0;
    EnumServicesStatusExW(manager.get(), SC_ENUM_PROCESS_INFO, SERVICE_WIN32, SERVICE_STATE_ALL, nullptr, 0, &needed,
        &count, &resume, nullptr);
    std::vector<BYTE> buffer(needed + 4096);
    EnumServicesStatusExW(manager.get(), SC_ENUM_PROCESS_INFO, SERVICE_WIN32, SERVICE_STATE_ALL, buffer.data(),
        static_cast<DWORD>(buffer.size()), &needed, &count, &resume, nullptr);
    const auto* services = reinterpret_cast<const ENUM_SERVICE_STATUS_PROCESSW*>(buffer.data());
    for (DWORD number = 0; number < count; ++number) {
        const std::wstring name = services[number].lpServiceName;
        if (name.starts_with(servicePrefix) || name == L"KelvoSQLServer")
            removeService(manager.get(), name.c_str());
    }
}

} // namespace

void markRun(const std::wstring& disk, const std::wstring& account)
{
    const UniqueRegistryKey key = registry::create(HKEY_LOCAL_MACHINE, markKey, KEY_WRITE);
    registry::set(key.get(), L"disk", disk);
    registry::set(key.get(), L"account", account);
}

bool hasMark()
{
    UniqueRegistryKey key;
    return RegOpenKeyExW(HKEY_LOCAL_MACHINE, markKey, 0, KEY_READ, key.receive()) == ERROR_SUCCESS;
}

std::vector<std::string> removeTraces()
{
    std::vector<std::string> left;
    removeServices();
    UniqueRegistryKey software;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE", 0, KEY_ALL_ACCESS | KEY_WOW64_32KEY, software.receive());
    RegDeleteTreeW(software.get(), L"Kelvo");
    // ClearEventLog would open the log "Application" if there were none of this name. Wine keeps no log and lacks
    // this.
    if (!kit::isWine())
        EvtClearLog(nullptr, L"Kelvo", nullptr, 0);
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Kelvo");
    DeleteFileW(logFile().c_str());
    if (const std::wstring account = marked(L"account"); !account.empty() && !Account::remove(account))
        left.push_back("the account mendkit_proof");
    if (const std::wstring disk = marked(L"disk"); !disk.empty() && !Disk::remove(disk))
        left.push_back("the virtual disk " + toNarrow(disk, utf8CodePage));
    if (left.empty())
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, markKey);
    return left;
}

std::vector<std::string> remainingTraces()
{
    std::vector<std::string> lines;
    if (GetFileAttributesW(logFile().c_str()) != INVALID_FILE_ATTRIBUTES)
        lines.push_back(
            "the empty file of the event log Kelvo, System32\\winevt\\Logs\\Kelvo.evtx: the event log service "
            "keeps it open; it can be deleted after a restart");
    lines.push_back("records of services, accounts and logons in the event logs System, Security and Application");
    lines.push_back("reports of Windows Error Reporting about fault_program.exe, which ends by faults on purpose");
    return lines;
}
