#include "proof/runner/machine.h"

#include "runtime/handle/handles.h"
#include "runtime/text/code_page.h"
#include "test/kit.h"

namespace {

constexpr DWORD oldestBuild = 14'393; // Windows Server 2016 and Windows 10 of the same year

std::string narrow(const std::wstring& text)
{
    return toNarrow(text, utf8CodePage);
}

bool isElevated()
{
    TOKEN_ELEVATION elevation{};
    DWORD size = 0;
    return GetTokenInformation(GetCurrentProcessToken(), TokenElevation, &elevation, sizeof elevation, &size) &&
           elevation.TokenIsElevated;
}

bool existsKey(const wchar_t* path, REGSAM view)
{
    UniqueRegistryKey key;
    return RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ | view, key.receive()) != ERROR_FILE_NOT_FOUND;
}

bool existsService(const wchar_t* name)
{
    const UniqueService manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT)),
        service(OpenServiceW(manager.get(), name, SERVICE_QUERY_STATUS));
    return service || GetLastError() != ERROR_SERVICE_DOES_NOT_EXIST;
}

std::wstring currentVersion(const wchar_t* value)
{
    wchar_t text[128] = {};
    DWORD size = sizeof text;
    RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", value,
        RRF_RT_REG_SZ | RRF_SUBKEY_WOW6464KEY, nullptr, text, &size);
    return text;
}

/// As the registry tells it: what the version functions tell depends on the manifest.
DWORD buildNumber()
{
    return wcstoul(currentVersion(L"CurrentBuildNumber").c_str(), nullptr, 10);
}

/// The revision of a build, which updates change.
DWORD revision()
{
    DWORD value = 0, size = sizeof value;
    RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", L"UBR",
        RRF_RT_REG_DWORD | RRF_SUBKEY_WOW6464KEY, nullptr, &value, &size);
    return value;
}

std::string describeVolume(const std::wstring& root)
{
    wchar_t system[64] = L"not readable";
    DWORD flags = 0;
    ULARGE_INTEGER total{};
    GetVolumeInformationW(root.c_str(), nullptr, 0, nullptr, nullptr, &flags, system, 64);
    GetDiskFreeSpaceExW(root.c_str(), nullptr, &total, nullptr);
    char number[32];
    snprintf(number, sizeof number, "0x%08lx", flags);
    return "Volume " + narrow(root) + " " + narrow(system) + ", " + std::to_string(total.QuadPart >> 20) +
           " MiB, flags " + number + ", drive type " + std::to_string(GetDriveTypeW(root.c_str()));
}

} // namespace

std::string objectionToRun()
{
    if (!kit::isWine() && buildNumber() < oldestBuild)
        return "It needs Windows Server 2016, Windows 10 or later, build 14393 at least.";
    if (!kit::isWine() && !isElevated()) // Wine 10 calls no process elevated
        return "It needs an elevated prompt: start the command prompt by \"Run as administrator\".";
    for (const REGSAM view : {KEY_WOW64_32KEY, KEY_WOW64_64KEY}) {
        if (existsKey(L"SOFTWARE\\Kelvo", view))
            return "The panel is installed here (its registry key exists). Use a machine without it.";
    }
    if (existsKey(L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Kelvo", 0))
        return "The panel's event log Kelvo is registered here. Use a machine without the panel.";
    if (existsService(L"KelvoSQLServer"))
        return "The panel's SQL server is installed here. Use a machine without the panel.";
    return {};
}

std::string objectionToDrive(const std::wstring& drive)
{
    if (drive.size() != 2 || drive[1] != L':')
        return "--volume needs a drive like V:";
    const std::wstring root = drive + L"\\";
    wchar_t windows[MAX_PATH], file[MAX_PATH];
    GetWindowsDirectoryW(windows, MAX_PATH);
    GetModuleFileNameW(nullptr, file, MAX_PATH);
    for (const std::wstring& used : {std::wstring(windows), std::wstring(file)}) {
        if (_wcsnicmp(used.c_str(), drive.c_str(), 2) == 0)
            return "--volume must name neither the system's volume nor the kit's.";
    }
    if (GetDriveTypeW(root.c_str()) != DRIVE_FIXED)
        return "--volume must name a local disk.";
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((root + L"*").c_str(), &found);
    bool isEmpty = true;
    for (BOOL more = search != INVALID_HANDLE_VALUE; more; more = FindNextFileW(search, &found)) {
        const std::wstring name = found.cFileName;
        isEmpty &= name == L"." || name == L".." || name == L"System Volume Information" || name == L"$RECYCLE.BIN";
    }
    FindClose(search);
    return isEmpty ? "" : "The volume of --volume must be empty.";
}

std::vector<std::string> describeMachine()
{
    std::vector<std::string> lines{"System " + narrow(currentVersion(L"ProductName")) + " " +
                                   narrow(currentVersion(L"DisplayVersion")) + ", build " +
                                   std::to_string(buildNumber()) + "." + std::to_string(revision()) +
                                   (kit::isWine() ? ", Wine" : "")};
    wchar_t roots[512] = {};
    GetLogicalDriveStringsW(511, roots);
    for (const wchar_t* root = roots; *root; root += wcslen(root) + 1) {
        if (GetDriveTypeW(root) == DRIVE_FIXED)
            lines.push_back(describeVolume(root));
    }
    return lines;
}
