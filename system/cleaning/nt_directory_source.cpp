#include "system/cleaning/nt_directory_source.h"

#include "system/cleaning/link_target.h"
#include "system/cleaning/link_trust.h"

#include <winternl.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace {

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

DWORD codeOf(NTSTATUS status) noexcept
{
    constexpr auto cannotBreakOplock = static_cast<NTSTATUS>(0xC0000909);
    constexpr auto fileIsADirectory = static_cast<NTSTATUS>(0xC00000BA),
                   deletePending = static_cast<NTSTATUS>(0xC0000056);
    switch (status) { // RtlNtStatusToDosError returns ERROR_ACCESS_DENIED for the first two
    case fileIsADirectory:
        return unexpectedDirectory;
    case deletePending:
        return ERROR_DELETE_PENDING;
    case cannotBreakOplock:
        return ERROR_SHARING_VIOLATION;
    default:
        return RtlNtStatusToDosError(status);
    }
}

ListedEntry entryOf(const FILE_FULL_DIR_INFO& found)
{
    const auto time = [](const LARGE_INTEGER& value) {
        return FILETIME{value.LowPart, static_cast<DWORD>(value.HighPart)};
    };
    const bool isReparsePoint = (found.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    // For reparse points EaSize holds the tag.
    return {
        {std::wstring(found.FileName, found.FileNameLength / sizeof(wchar_t)), found.FileAttributes, isReparsePoint,
            isReparsePoint && isLinkTag(found.EaSize), static_cast<std::uint64_t>(found.EndOfFile.QuadPart),
            time(found.CreationTime), time(found.LastAccessTime), time(found.LastWriteTime)},
        static_cast<std::uint64_t>(found.AllocationSize.QuadPart)};
}

DWORD openPath(const std::wstring& path, DWORD access, HANDLE& opened)
{
    // The server of a pipe at the end of a link must not act with this program's token.
    constexpr DWORD flags = FILE_FLAG_BACKUP_SEMANTICS | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
    UniqueFile handle(CreateFileW(path.c_str(), access, shareAll, nullptr, OPEN_EXISTING, flags, nullptr));
    if (!handle)
        return GetLastError();
    opened = handle.release();
    return ERROR_SUCCESS;
}

} // namespace

DWORD NtDirectorySource::openRoot(const std::wstring& root, bool list, Handle& opened)
{
    disposition_ = {};
    return openPath(root, list ? FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES : FILE_READ_ATTRIBUTES, opened);
}

DWORD NtDirectorySource::openPlainly(const std::wstring& path, Handle& opened)
{
    return openPath(path, FILE_READ_ATTRIBUTES, opened); // breaks no oplock, so it does not wait
}

DWORD NtDirectorySource::open(Handle directory, std::wstring_view name, const Opening& opening, Handle& opened)
{
    if (name.empty() || name.size() > MAXSHORT || name.find_first_of(L"\\:") != std::wstring_view::npos)
        return ERROR_INVALID_NAME; // a separator or a stream would open an object outside of the directory's entries
    UNICODE_STRING text{};
    text.Length = text.MaximumLength = static_cast<USHORT>(name.size() * sizeof(wchar_t));
    text.Buffer = const_cast<wchar_t*>(name.data()); // only read, but UNICODE_STRING has no const
    // Refuses a directory that has become a link since it was opened.
    constexpr ULONG dontReparse = 0x1000; // OBJ_DONT_REPARSE, from Windows 10 on
    OBJECT_ATTRIBUTES attributes;
    InitializeObjectAttributes(&attributes, &text,
        (refusesLinks_ ? dontReparse : 0) | (opening.anyCase ? OBJ_CASE_INSENSITIVE : 0), directory, nullptr);

    // Rights on the directory grant FILE_READ_ATTRIBUTES and DELETE for its entries, even when an entry's own access
    // list denies everything. Further rights are requested only when needed.
    ACCESS_MASK access = FILE_READ_ATTRIBUTES;
    access |= opening.security ? READ_CONTROL | SYNCHRONIZE : 0;
    access |= opening.remove ? DELETE : 0;
    access |= opening.list ? FILE_LIST_DIRECTORY | SYNCHRONIZE : 0;
    // Without FILE_COMPLETE_IF_OPLOCKED the holder of an oplock could block the open for ever.
    ULONG options = FILE_OPEN_REPARSE_POINT | FILE_COMPLETE_IF_OPLOCKED;
    // Listings and the query of a link's target would return before their answer is there.
    options |= opening.list || opening.security ? FILE_SYNCHRONOUS_IO_NONALERT : 0;
    if (opening.type == Opening::Type::file)
        options |= FILE_NON_DIRECTORY_FILE;
    else if (opening.type == Opening::Type::directory)
        options |= FILE_DIRECTORY_FILE;
    const auto create = [&] {
        IO_STATUS_BLOCK status;
        return NtCreateFile(&opened, access, &attributes, &status, nullptr, 0,
            opening.pinned ? FILE_SHARE_READ | FILE_SHARE_WRITE : shareAll, FILE_OPEN, options, nullptr, 0);
    };
    constexpr auto invalidParameter = static_cast<NTSTATUS>(0xC000000D);
    constexpr NTSTATUS oplockBreakInProgress = 0x108; // opened; the oplock's holder has not answered yet
    NTSTATUS status = create();
    if (status == invalidParameter && refusesLinks_) {
        attributes.Attributes &= ~dontReparse;
        status = create();
        refusesLinks_ = status == invalidParameter;
    }
    if (status == oplockBreakInProgress) {
        close(std::exchange(opened, nullptr));
        return ERROR_SHARING_VIOLATION;
    }
    return codeOf(status);
}

void NtDirectorySource::close(Handle object) noexcept
{
    CloseHandle(object);
}

DWORD NtDirectorySource::kindOf(Handle object, ObjectKind& kind)
{
    FILE_ATTRIBUTE_TAG_INFO info{};
    if (!GetFileInformationByHandleEx(object, FileAttributeTagInfo, &info, sizeof info)) {
        FILE_BASIC_INFO basic; // file systems without reparse points (FAT) may support only this
        if (!GetFileInformationByHandleEx(object, FileBasicInfo, &basic, sizeof basic))
            return GetLastError();
        info.FileAttributes = basic.FileAttributes;
    }
    if ((info.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        kind = ObjectKind::file;
    else if ((info.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && isLinkTag(info.ReparseTag))
        kind = ObjectKind::link;
    else
        kind = ObjectKind::directory;
    return ERROR_SUCCESS;
}

DWORD NtDirectorySource::locationOf(Handle object, std::wstring& location)
{
    // As GetFinalPathNameByHandle, but without the query to the mount manager, which takes longer than the rest of a
    // removal.
    constexpr auto objectNameInformation = static_cast<OBJECT_INFORMATION_CLASS>(1);
    alignas(UNICODE_STRING) std::array<BYTE, 1024> small;
    std::vector<BYTE> large;
    BYTE* found = small.data();
    ULONG size = 0;
    NTSTATUS status = NtQueryObject(object, objectNameInformation, found, small.size(), &size);
    for (int tries = 0; tries < 3 && !NT_SUCCESS(status) && size > std::max(small.size(), large.size()); ++tries) {
        large.resize(size);
        found = large.data();
        status = NtQueryObject(object, objectNameInformation, found, static_cast<ULONG>(large.size()), &size);
    }
    if (!NT_SUCCESS(status))
        return codeOf(status);
    const auto& name = *reinterpret_cast<const UNICODE_STRING*>(found);
    location.assign(name.Buffer, name.Length / sizeof(wchar_t));
    return location.empty() ? ERROR_BAD_PATHNAME : ERROR_SUCCESS;
}

DWORD NtDirectorySource::pathOf(Handle object, std::wstring& path)
{
    wchar_t buffer[0x8000];
    for (const DWORD form :
        {VOLUME_NAME_DOS, VOLUME_NAME_GUID}) { // a volume without a drive letter has only the latter
        const DWORD length =
            GetFinalPathNameByHandleW(object, buffer, std::size(buffer), FILE_NAME_NORMALIZED | form);
        if (length > 0 && length < std::size(buffer)) {
            path.assign(buffer, length);
            return ERROR_SUCCESS;
        }
    }
    return GetLastError();
}

DWORD NtDirectorySource::idOf(Handle object, FileId& id)
{
    return fileIdOf(object, id);
}

bool NtDirectorySource::isRemote(Handle object) noexcept
{
    FILE_REMOTE_PROTOCOL_INFO info; // known for remote files only
    return GetFileInformationByHandleEx(object, FileRemoteProtocolInfo, &info, sizeof info) != FALSE;
}

DWORD NtDirectorySource::mountsOf(const std::wstring& volume, std::vector<std::wstring>& paths)
{
    std::vector<wchar_t> names(MAX_PATH);
    DWORD length = 0;
    while (
        !GetVolumePathNamesForVolumeNameW(volume.c_str(), names.data(), static_cast<DWORD>(names.size()), &length)) {
        if (GetLastError() != ERROR_MORE_DATA || length <= names.size())
            return GetLastError();
        names.resize(length);
    }
    paths.clear();
    for (const wchar_t* name = names.data(); *name != L'\0'; name += paths.back().size() + 1)
        paths.emplace_back(name);
    return ERROR_SUCCESS;
}

DWORD NtDirectorySource::list(Handle directory, bool first, std::vector<ListedEntry>& entries)
{
    constexpr std::size_t piece = 65'536; // the largest buffer that all network file systems accept
    buffer_.resize(piece);
    entries.clear();
    if (!GetFileInformationByHandleEx(
            directory, first ? FileFullDirectoryRestartInfo : FileFullDirectoryInfo, buffer_.data(), piece))
        return GetLastError();
    for (const BYTE* at = buffer_.data();;) {
        const auto& found = *reinterpret_cast<const FILE_FULL_DIR_INFO*>(at);
        entries.push_back(entryOf(found));
        if (found.NextEntryOffset == 0)
            return ERROR_SUCCESS;
        at += found.NextEntryOffset;
    }
}

DWORD NtDirectorySource::remove(Handle object)
{
    if (!remover_)
        remover_.reset(OpenThread(THREAD_TERMINATE, FALSE, GetCurrentThreadId()));
    removed_ = object;
    return disposition_.remove(object);
}

void NtDirectorySource::cancelRemoval() noexcept
{
    if (remover_)
        CancelSynchronousIo(remover_.get());
    CancelIoEx(removed_, nullptr); // its handle is asynchronous: the right to wait for it may be denied
}

DWORD NtDirectorySource::targetOf(Handle link, std::wstring& target)
{
    return linkTarget(link, target);
}

bool NtDirectorySource::isTrusted(Handle link) noexcept
{
    return isLinkTrusted(link);
}
