#include "proof/runner/disk.h"

#include "proof/runner/process.h"
#include "runtime/failure/vosexception.h"
#include "runtime/text/code_page.h"

#include <fstream>

namespace {

constexpr wchar_t bareLabel[] = L"mendkit_bare";

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

std::wstring volumeWithLabel(const wchar_t* label)
{
    wchar_t name[MAX_PATH], found[MAX_PATH];
    const HANDLE search = FindFirstVolumeW(name, MAX_PATH);
    std::wstring volume;
    for (BOOL more = search != INVALID_HANDLE_VALUE; more; more = FindNextVolumeW(search, name, MAX_PATH)) {
        if (GetVolumeInformationW(name, found, MAX_PATH, nullptr, nullptr, nullptr, nullptr, 0) &&
            std::wstring(label) == found)
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
    failure_ = runDiskpart(file_ + L".txt", L"create " + name + L" maximum=700 type=expandable\r\nselect " + name +
                                                L"\r\nattach vdisk\r\n"
                                                L"create partition primary size=500\r\n"
                                                L"format fs=ntfs label=mendkit quick\r\n"
                                                L"assign letter=" +
                                                letter +
                                                L"\r\ncreate partition primary\r\n"
                                                L"format fs=ntfs label=" +
                                                bareLabel + L" quick\r\nremove all noerr\r\n");
    if (failure_.empty()) {
        drive_ = {letter, L':'};
        bareVolume_ = volumeWithLabel(bareLabel);
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
    return DeleteFileW(file.c_str());
}
