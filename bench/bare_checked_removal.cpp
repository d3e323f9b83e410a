// Removes a tree with the calls that mendkit --free-disk-space makes for each entry: an open relative to the
// directory, a query of the object's name, the disposition, the close. Decides nothing and ignores failures: the
// reference for the command's times.

#include <windows.h>
#include <winternl.h>

#include <vector>

namespace {

HANDLE openEntry(HANDLE directory, const FILE_FULL_DIR_INFO& entry, ACCESS_MASK access, ULONG options)
{
    UNICODE_STRING name{};
    name.Length = name.MaximumLength = static_cast<USHORT>(entry.FileNameLength);
    name.Buffer = const_cast<wchar_t*>(entry.FileName);
    OBJECT_ATTRIBUTES attributes;
    InitializeObjectAttributes(&attributes, &name, 0, directory, nullptr);
    IO_STATUS_BLOCK status;
    HANDLE opened = nullptr;
    NtCreateFile(&opened, access | DELETE | FILE_READ_ATTRIBUTES, &attributes, &status, nullptr, 0,
        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, FILE_OPEN, options | FILE_OPEN_REPARSE_POINT, nullptr,
        0);
    return opened;
}

void removeObject(HANDLE object)
{
    constexpr auto objectNameInformation = static_cast<OBJECT_INFORMATION_CLASS>(1);
    alignas(UNICODE_STRING) BYTE name[1024];
    ULONG size = 0;
    NtQueryObject(object, objectNameInformation, name, sizeof name, &size);
    constexpr auto fileDispositionInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21);
    static bool knowsPosixRemoval = true; // Wine 8 does not
    FILE_DISPOSITION_INFO_EX now{
        FILE_DISPOSITION_FLAG_DELETE | FILE_DISPOSITION_FLAG_POSIX_SEMANTICS | 0x10 /* ignore read-only */};
    if (knowsPosixRemoval)
        knowsPosixRemoval = SetFileInformationByHandle(object, fileDispositionInfoEx, &now, sizeof now);
    FILE_DISPOSITION_INFO atClose{TRUE};
    if (!knowsPosixRemoval)
        SetFileInformationByHandle(object, FileDispositionInfo, &atClose, sizeof atClose);
    CloseHandle(object);
}

void removeContent(HANDLE directory)
{
    std::vector<BYTE> piece(65'536);
    while (GetFileInformationByHandleEx(
        directory, FileFullDirectoryInfo, piece.data(), static_cast<DWORD>(piece.size()))) {
        for (const BYTE* at = piece.data();;) {
            const auto& entry = *reinterpret_cast<const FILE_FULL_DIR_INFO*>(at);
            if ((entry.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
                removeObject(openEntry(directory, entry, 0, FILE_NON_DIRECTORY_FILE));
            } else if (entry.FileName[0] != L'.') {
                const HANDLE inner = openEntry(directory, entry, FILE_LIST_DIRECTORY | SYNCHRONIZE,
                    FILE_DIRECTORY_FILE | FILE_SYNCHRONOUS_IO_NONALERT);
                removeContent(inner);
                removeObject(inner);
            }
            if (entry.NextEntryOffset == 0)
                break;
            at += entry.NextEntryOffset;
        }
    }
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc < 2)
        return 1;
    const HANDLE tree =
        CreateFileW(argv[1], FILE_LIST_DIRECTORY | DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
            nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    removeContent(tree);
    removeObject(tree);
    return 0;
}
