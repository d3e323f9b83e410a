#include "devpanel/proof_guard.h"

#include "runtime/failure/vexception.h"
#include "runtime/file_location.h"
#include "runtime/handle/handles.h"
#include "test/kit.h"

#include <vector>

namespace {

/// What identifies a volume. Volumes may have the same serial number, and shares tell nothing else.
struct Volume
{
    std::wstring name; // "\\?\Volume{...}"; empty: not told
    DWORD serialNumber = 0;
    bool isKnown = false;
};

/// The volume of a directory, with all links in its path followed. Of a missing one that of the nearest directory
/// above it that exists.
Volume volumeOf(std::wstring path)
{
    Volume volume;
    for (;;) {
        const UniqueFile directory(
            CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
        BY_HANDLE_FILE_INFORMATION found;
        if (directory && GetFileInformationByHandle(directory.get(), &found)) {
            wchar_t name[0x8000];
            const DWORD length = GetFinalPathNameByHandleW(directory.get(), name, 0x8000, VOLUME_NAME_GUID);
            if (length > 0 && length < 0x8000)
                volume.name = std::wstring(name).substr(0, std::wstring(name).find(L'}') + 1);
            volume.serialNumber = found.dwVolumeSerialNumber;
            volume.isKnown = true;
            return volume;
        }
        while (path.ends_with(L'\\'))
            path.pop_back();
        const std::size_t separator = path.rfind(L'\\');
        if (separator == std::wstring::npos)
            return volume;
        path.resize(separator + 1);
        if (path.find_first_not_of(L"\\.?") == std::wstring::npos)
            return volume;
    }
}

bool isSame(const Volume& left, const Volume& right)
{
    const bool areNamed = !left.name.empty() && !right.name.empty();
    return areNamed ? left.name == right.name : left.serialNumber == right.serialNumber;
}

} // namespace

void checkVolumes(const std::wstring& root, const std::wstring& dumps)
{
    if (!kit::isRunning())
        return;
    wchar_t windows[MAX_PATH];
    GetSystemWindowsDirectoryW(windows, MAX_PATH);
    const Volume system = volumeOf(windows);
    const std::wstring temp = std::wstring(windows) + L"\\Temp";
    std::vector<std::wstring> cleaned;
    for (const wchar_t* part : {L"", L"\\PrivateTemp", L"\\MGX\\tmp", L"\\tmp", L"\\tmp\\aps", L"\\tmp\\horde"})
        cleaned.push_back(root + part);
    const bool isException = kit::mayEmptyWindowsTemp() && location::isBelow(location::of(dumps), location::of(temp));
    if (!isException)
        cleaned.push_back(dumps);
    for (const std::wstring& directory : cleaned) {
        const Volume volume = volumeOf(directory);
        if (!system.isKnown || !volume.isKnown || isSame(volume, system)) {
            throw vexception(L"The directory '" + directory +
                                 L"' lies on the system's volume, or its volume is not "
                                 L"known: the kit must not have it emptied",
                {"checkVolumes"});
        }
    }
}
