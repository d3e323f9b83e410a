#include "proof/runner/traces.h"

#include "config/registry.h"
#include "proof/runner/account.h"
#include "proof/runner/disk.h"
#include "proof/runner/process.h"
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

std::wstring systemFile(const wchar_t* name)
{
    wchar_t system[MAX_PATH];
    GetSystemDirectoryW(system, MAX_PATH);
    return std::wstring(system) + L"\\" + name;
}

/// The file of the event log "Kelvo". The event log service keeps it open until the machine restarts.
std::wstring logFile()
{
    return systemFile(L"winevt\\Logs\\Kelvo.evtx");
}

void removeService(SC_HANDLE manager, const wchar_t* name)
{
    const UniqueService service(OpenServiceW(manager, name, SERVICE_STOP | DELETE));
    SERVICE_STATUS status;
    ControlService(service.get(), SERVICE_CONTROL_STOP, &status);
    DeleteService(service.get());
}

/// Finds them in the registry: the service control manager does not list those that deny questions.
void removeServices()
{
    const UniqueService manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    UniqueRegistryKey all;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Services", 0, KEY_READ, all.receive());
    std::vector<std::wstring> names;
    wchar_t name[300];
    for (DWORD number = 0, size = 300;
        RegEnumKeyExW(all.get(), number, name, &size, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
        ++number, size = 300)
        names.emplace_back(name);
    for (const std::wstring& found : names) {
        if (found.starts_with(servicePrefix) || found == L"KelvoSQLServer")
            removeService(manager.get(), found.c_str());
    }
}

/// Of a test that was interrupted.
void removeScheduledTask()
{
    if (GetFileAttributesW(systemFile(L"Tasks\\mendkit_proof").c_str()) != INVALID_FILE_ATTRIBUTES)
        runProcess(L"\"" + systemFile(L"schtasks.exe") + L"\" /delete /tn mendkit_proof /f", 60'000);
}

/// Removes what tests make in the root of a volume that was empty before. rd follows no link.
/// @return whether nothing of it is left
bool removeFilesOfTests(const std::wstring& drive)
{
    bool areAllGone = true;
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((drive + L"\\*").c_str(), &found);
    std::vector<std::wstring> names;
    for (BOOL more = search != INVALID_HANDLE_VALUE; more; more = FindNextFileW(search, &found)) {
        const std::wstring name = found.cFileName;
        if (name == L"Kelvo Panel" || name == L"mendkit_test" || name == L"mk" ||
            (name.starts_with(L"mk") && name.ends_with(L".tmp \u00e4 \u0416"))) // test/sandbox.h
            names.push_back(name);
    }
    FindClose(search);
    for (const std::wstring& name : names) {
        const std::wstring path = drive + L"\\" + name;
        runProcess(L"\"" + systemFile(L"cmd.exe") + L"\" /d /c rd /s /q \"" + path + L"\"", 60'000);
        areAllGone &= GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES;
    }
    return areAllGone;
}

} // namespace

void markRun(const std::wstring& disk, const std::wstring& account, const std::wstring& volume)
{
    const UniqueRegistryKey key = registry::create(HKEY_LOCAL_MACHINE, markKey, KEY_WRITE);
    registry::set(key.get(), L"disk", disk);
    registry::set(key.get(), L"account", account);
    registry::set(key.get(), L"volume", volume);
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
    removeScheduledTask();
    UniqueRegistryKey software;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE", 0, KEY_ALL_ACCESS | KEY_WOW64_32KEY, software.receive());
    RegDeleteTreeW(software.get(), L"Kelvo");
    // ClearEventLog would open the log "Application" if there were none of this name.
    if (!kit::isWine()) // Wine 8 has no such function
        EvtClearLog(nullptr, L"Kelvo", nullptr, 0);
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Kelvo");
    DeleteFileW(logFile().c_str());
    if (const std::wstring account = marked(L"account"); !account.empty() && !Account::remove(account))
        left.push_back("the account mendkit_proof");
    if (const std::wstring volume = marked(L"volume"); !volume.empty() && !removeFilesOfTests(volume))
        left.push_back("files of the tests on " + toNarrow(volume, utf8CodePage));
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
    lines.push_back("the virtual disk and its volumes in the list of mounted devices (HKLM\\SYSTEM\\MountedDevices) "
                    "and of devices");
    lines.push_back("until the logoff, entries for unknown accounts in the access list of this session's desktop");
    // The kit's error mode prevents them ("SetErrorMode function"), but perhaps not after a fast failure
    // ("__fastfail").
    lines.push_back("perhaps reports of Windows Error Reporting about fault_program.exe, which ends by faults on "
                    "purpose");
    return lines;
}
