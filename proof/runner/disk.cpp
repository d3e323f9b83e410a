#include "proof/runner/disk.h"

#include "proof/runner/process.h"
#include "runtime/failure/vosexception.h"
#include "runtime/handle/handles.h"
#include "runtime/text/code_page.h"

#include <windows.h>

#include <winioctl.h>

#include <fstream>
#include <optional>

namespace {

constexpr wchar_t label[] = L"mendkit", bareLabel[] = L"mendkit_bare";

/// Runs a script of diskpart, which makes virtual disks in every edition of Windows.
/// @return its output after a failure, else an empty text
std::string runDiskpart(const std::wstring& scriptFile, const std::wstring& script)
{
    std::ofstream(scriptFile.c_str()) << toNarrow(script, CP_OEMCP);
    std::string failure;
    try {
        wchar_t system[MAX_PATH];
        GetSystemDirectoryW(system, MAX_PATH);
        const ProcessResult result =
            runProcess(L"\"" + std::wstring(system) + L"\\diskpart.exe\" /s \"" + scriptFile + L"\"", 120'000);
        if (result.exitCode != 0 || !result.isInTime)
            failure = "diskpart failed with " + std::to_string(result.exitCode) + ": " + result.output;
    } catch (const vosexception& error) {
        failure = "diskpart cannot be started (" + std::to_string(error.code()) + ")";
    }
    DeleteFileW(scriptFile.c_str());
    return failure;
}

/// A letter that no volume has; letters from the end of the alphabet belong to network drives more often. 0: none.
wchar_t freeLetter()
{
    const DWORD used = GetLogicalDrives();
    for (const wchar_t letter : std::wstring(L"PQRSTUVWOMNLKJIHGFE")) {
        if ((used & (1u << (letter - L'A'))) == 0)
            return letter;
    }
    return 0;
}

/// The number of the disk on which a volume lies. @param volume  without a backslash at its end
std::optional<DWORD> diskNumber(const std::wstring& volume)
{
    const UniqueFile device(
        CreateFileW(volume.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
    STORAGE_DEVICE_NUMBER number{};
    DWORD size = 0;
    if (!device || !DeviceIoControl(device.get(), IOCTL_STORAGE_GET_DEVICE_NUMBER, nullptr, 0, &number, sizeof number,
                       &size, nullptr))
        return std::nullopt;
    return number.DeviceNumber;
}

/// Takes the paths from a volume that the system has given it.
void unmount(const std::wstring& volume)
{
    wchar_t paths[1024] = L"";
    DWORD length = 0;
    GetVolumePathNamesForVolumeNameW(volume.c_str(), paths, 1024, &length);
    for (const wchar_t* path = paths; *path; path += wcslen(path) + 1)
        DeleteVolumeMountPointW(path);
}

bool hasLabel(const std::wstring& root, const wchar_t* wanted)
{
    wchar_t found[MAX_PATH];
    return GetVolumeInformationW(root.c_str(), found, MAX_PATH, nullptr, nullptr, nullptr, nullptr, 0) &&
           std::wstring(wanted) == found;
}

/// The volume with that label on the disk of a drive: another volume of that label is not the kit's, which empties
/// it.
std::wstring volumeWithLabel(const wchar_t* wanted, const std::wstring& drive)
{
    const std::optional<DWORD> disk = diskNumber(L"\\\\.\\" + drive);
    wchar_t name[MAX_PATH];
    const HANDLE search = FindFirstVolumeW(name, MAX_PATH);
    std::wstring volume;
    for (BOOL more = search != INVALID_HANDLE_VALUE; more; more = FindNextVolumeW(search, name, MAX_PATH)) {
        if (hasLabel(name, wanted) && disk && diskNumber(std::wstring(name, wcslen(name) - 1)) == disk)
            volume = name;
    }
    FindVolumeClose(search);
    return volume;
}

} // namespace

Disk::Disk(std::wstring file) : file_(std::move(file))
{
    const wchar_t letter = freeLetter();
    if (letter == 0) {
        failure_ = "no drive letter is free";
        return;
    }
    const std::wstring name = L"vdisk file=\"" + file_ + L"\"";
    failure_ =
        runDiskpart(file_ + L".txt", L"create " + name + L" maximum=700 type=expandable\r\nselect " + name +
                                         L"\r\nattach vdisk\r\nonline disk noerr\r\n" // by policy it may be offline
                                         L"create partition primary size=500\r\n"
                                         L"format fs=ntfs label=" +
                                         label +
                                         L" quick\r\n"
                                         L"assign letter=" +
                                         letter +
                                         L"\r\ncreate partition primary\r\n"
                                         L"format fs=ntfs label=" +
                                         bareLabel + L" quick\r\nremove all noerr\r\n");
    if (failure_.empty() && !hasLabel({letter, L':', L'\\'}, label))
        failure_ = "the new volume has not the letter that it was given";
    if (failure_.empty()) {
        drive_ = {letter, L':'};
        bareVolume_ = volumeWithLabel(bareLabel, drive_);
        unmount(bareVolume_);
    }
}

Disk::~Disk()
{
    remove(file_);
}

bool Disk::remove(const std::wstring& file)
{
    if (GetFileAttributesW(file.c_str()) == INVALID_FILE_ATTRIBUTES)
        return true;
    runDiskpart(file + L".txt", L"select vdisk file=\"" + file + L"\"\r\ndetach vdisk\r\n");
    for (int patience = 50; !DeleteFileW(file.c_str()) && patience > 0; --patience) // the system closes it later
        Sleep(100);
    return GetFileAttributesW(file.c_str()) == INVALID_FILE_ATTRIBUTES;
}
