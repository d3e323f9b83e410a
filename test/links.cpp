#include "test/links.h"

#include "test/kit.h"
#include "test/privileges.h"
#include "test/sandbox.h"

#include <sddl.h>
#include <winioctl.h>
#include <winternl.h>

#include <cstring>
#include <fstream>
#include <vector>

namespace {

constexpr DWORD relativeFlag = 1;
constexpr GUID tagOwner = {0x6d656e64, 0x6b69, 0x74, {1, 2, 3, 4, 5, 6, 7, 8}}; // of tags that are not Microsoft's

/// Opens an object without following a link. CreateFile cannot do this under Wine 8.
UniqueFile openObject(const std::wstring& path, ACCESS_MASK access)
{
    std::wstring name = L"\\??\\" + path;
    UNICODE_STRING text{};
    RtlInitUnicodeString(&text, name.c_str());
    OBJECT_ATTRIBUTES attributes;
    InitializeObjectAttributes(&attributes, &text, OBJ_CASE_INSENSITIVE, nullptr, nullptr);
    IO_STATUS_BLOCK status;
    HANDLE opened = nullptr;
    const NTSTATUS result = NtCreateFile(&opened, access | SYNCHRONIZE, &attributes, &status, nullptr, 0,
        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, FILE_OPEN,
        FILE_OPEN_REPARSE_POINT | FILE_OPEN_FOR_BACKUP_INTENT | FILE_SYNCHRONOUS_IO_NONALERT, nullptr, 0);
    SetLastError(RtlNtStatusToDosError(result));
    return UniqueFile(NT_SUCCESS(result) ? opened : INVALID_HANDLE_VALUE);
}

/// The buffer of FSCTL_SET_REPARSE_POINT.
std::vector<BYTE> reparseData(const Node& node, const std::wstring& target)
{
    std::vector<BYTE> data;
    const auto add = [&](const void* bytes, std::size_t size) {
        const auto* first = static_cast<const BYTE*>(bytes);
        data.insert(data.end(), first, first + size);
    };
    const auto addWord = [&](std::size_t value) { add(&value, sizeof(WORD)); };
    const bool isLink = node.tag == 0, isJunction = node.kind == Node::Kind::junction;
    const DWORD tag = !isLink ? node.tag : isJunction ? IO_REPARSE_TAG_MOUNT_POINT : IO_REPARSE_TAG_SYMLINK;
    add(&tag, sizeof tag);
    addWord(0); // the length, set below
    addWord(0);
    std::size_t header = data.size();
    if (isLink) {
        const bool isAbsolute = target.starts_with(L"\\??\\") || target.substr(1, 2) == L":\\";
        const std::wstring name = (isAbsolute && !target.starts_with(L"\\") ? L"\\??\\" : L"") + target;
        const std::size_t size = name.size() * sizeof(wchar_t), shown = target.size() * sizeof(wchar_t);
        addWord(0);
        addWord(size);
        addWord(size + sizeof(wchar_t));
        addWord(shown);
        const DWORD flags = isAbsolute ? 0 : relativeFlag;
        if (!isJunction)
            add(&flags, sizeof flags);
        add(name.c_str(), size + sizeof(wchar_t));
        add(target.c_str(), shown + sizeof(wchar_t));
    } else {
        if (!IsReparseTagMicrosoft(tag)) {
            add(&tagOwner, sizeof tagOwner);
            header = data.size();
        }
        add("data", 4);
    }
    const auto length = static_cast<WORD>(data.size() - header);
    std::memcpy(data.data() + sizeof tag, &length, sizeof length);
    return data;
}

bool setRights(const std::wstring& path, const std::wstring& rights)
{
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(rights.c_str(), SDDL_REVISION_1, &descriptor, nullptr))
        return false;
    const UniqueLocalMemory memory(descriptor);
    const bool hasOwner = rights.starts_with(L"O:");
    const Privileges all; // to give the object away
    const UniqueFile object = openObject(path, WRITE_DAC | (hasOwner ? WRITE_OWNER : 0));
    return object && SetKernelObjectSecurity(object.get(),
                         DACL_SECURITY_INFORMATION | (hasOwner ? OWNER_SECURITY_INFORMATION : 0), descriptor);
}

/// An entry of a directory. `isTree`: a directory whose entries are its own.
struct Entry
{
    std::wstring name;
    bool isTree, isFile;
    DWORD tag; // of a tree that is a reparse point
};

/// The entries of a directory. Lists it also while it is open for removal; FindFirstFile does not.
std::vector<Entry> entriesOf(const std::wstring& path)
{
    constexpr DWORD directoryBit = 0x10000000; // of a tag: the directory has its own entries
    std::vector<Entry> entries;
    const UniqueFile directory = openObject(path, FILE_LIST_DIRECTORY);
    std::vector<BYTE> buffer(65'536);
    while (directory && GetFileInformationByHandleEx(directory.get(), FileFullDirectoryInfo, buffer.data(), 65'536)) {
        const BYTE* at = buffer.data();
        for (DWORD offset = 1; offset != 0; at += offset) {
            const auto& found = *reinterpret_cast<const FILE_FULL_DIR_INFO*>(at);
            offset = found.NextEntryOffset;
            const std::wstring name(found.FileName, found.FileNameLength / sizeof(wchar_t));
            const bool isDirectory = (found.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0,
                       isReparsePoint = (found.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0,
                       hasOwnEntries = (found.EaSize & directoryBit) != 0 &&
                                       !IsReparseTagNameSurrogate(found.EaSize); // of reparse points: the tag
            if (std::wstring_view(L"..").find(name) == std::wstring_view::npos)
                entries.push_back({name, isDirectory && (!isReparsePoint || hasOwnEntries),
                    !isDirectory && !isReparsePoint, isReparsePoint ? found.EaSize : 0});
        }
    }
    return entries;
}

bool removeObject(const std::wstring& path)
{
    const UniqueFile object = openObject(path, DELETE | FILE_WRITE_ATTRIBUTES);
    if (!object)
        return false;
    FILE_BASIC_INFO basic{};
    basic.FileAttributes = FILE_ATTRIBUTE_NORMAL; // no longer read-only
    SetFileInformationByHandle(object.get(), FileBasicInfo, &basic, sizeof basic);
    FILE_DISPOSITION_INFO info{TRUE};
    return SetFileInformationByHandle(object.get(), FileDispositionInfo, &info, sizeof info);
}

/// Makes a reparse point an ordinary directory: Windows opens nothing below a tag that no driver handles.
/// "FSCTL_DELETE_REPARSE_POINT control code": tag and owner must match, the buffer is the header alone.
void removeTag(const std::wstring& path, DWORD tag)
{
    const UniqueFile object = openObject(path, FILE_WRITE_ATTRIBUTES);
    REPARSE_GUID_DATA_BUFFER data{};
    data.ReparseTag = tag;
    data.ReparseGuid = tagOwner;
    const DWORD header = IsReparseTagMicrosoft(tag) ? 8 : REPARSE_GUID_DATA_BUFFER_HEADER_SIZE;
    DWORD size = 0;
    DeviceIoControl(object.get(), FSCTL_DELETE_REPARSE_POINT, &data, header, nullptr, 0, &size, nullptr);
}

void removeTree(const std::wstring& path)
{
    for (const Entry& entry : entriesOf(path)) {
        if (entry.isTree && entry.tag != 0)
            removeTag(path + L'\\' + entry.name, entry.tag);
        if (entry.isTree)
            removeTree(path + L'\\' + entry.name);
        else
            removeObject(path + L'\\' + entry.name);
    }
    removeObject(path);
}

} // namespace

LinkTree::LinkTree()
    : base_(!kit::drive().empty()                   ? kit::drive() + L"\\mk"
            : !kit::isWine()                        ? L""
            : GetDriveTypeW(L"D:\\") == DRIVE_FIXED ? L"D:\\mk"
                                                    : L"C:\\mk")
{
    clear();
    CreateDirectoryW(base_.c_str(), nullptr);
}

LinkTree::~LinkTree()
{
    clear();
}

bool LinkTree::canLink() const
{
    if (base_.empty())
        return false;
    const bool can = make(junction(L"link", L"@"));
    remove(L"link");
    return can;
}

std::wstring LinkTree::expanded(std::wstring text) const
{
    const auto volume = [&] {
        wchar_t name[MAX_PATH] = L"";
        GetVolumeNameForVolumeMountPointW(base_.substr(0, 3).c_str(), name, MAX_PATH);
        return L"\\??" + std::wstring(name).substr(3); // instead of "\\?"
    };
    for (std::size_t found = 0; (found = text.find_first_of(L"@#^%", found)) != std::wstring::npos;)
        text.replace(found, 1,
            text[found] == L'@'   ? base_
            : text[found] == L'#' ? base_.substr(2)
            : text[found] == L'^' ? base_.substr(0, 3)
                                  : volume());
    return text;
}

bool LinkTree::make(const Node& node) const
{
    using Kind = Node::Kind;
    const std::wstring path = at(node.path);
    for (std::size_t end = base_.size(); end < path.size(); end = path.find(L'\\', end + 1))
        CreateDirectoryW(path.substr(0, end).c_str(), nullptr);
    if (node.kind == Kind::file || node.kind == Kind::fileLink || node.kind == Kind::taggedFile)
        std::ofstream(path.c_str()) << "x";
    else
        CreateDirectoryW(path.c_str(), nullptr);
    if (node.kind != Kind::file && node.kind != Kind::directory && !turnIntoLink(node))
        return false;
    return static_cast<bool>(openObject(path, FILE_READ_ATTRIBUTES));
}

bool LinkTree::protect(const std::wstring& path, const std::wstring& rights) const
{
    return setRights(at(path), rights);
}

bool LinkTree::turnIntoLink(const Node& node) const
{
    const Privileges all; // to make symbolic links
    std::vector<BYTE> data = reparseData(node, expanded(node.target));
    const UniqueFile object = openObject(at(node.path), FILE_WRITE_ATTRIBUTES);
    DWORD size = 0;
    return object &&
           DeviceIoControl(object.get(), FSCTL_SET_REPARSE_POINT, data.data(), static_cast<DWORD>(data.size()),
               nullptr, 0, &size, nullptr) &&
           (node.rights.empty() || setRights(at(node.path), node.rights));
}

bool LinkTree::remove(const std::wstring& path) const
{
    return removeObject(at(path));
}

bool LinkTree::rename(const std::wstring& from, const std::wstring& to) const
{
    const UniqueFile object = openObject(at(from), DELETE); // MoveFile would follow a link under Wine
    return object && rename(object.get(), to);
}

bool LinkTree::rename(HANDLE object, const std::wstring& to) const
{
    constexpr auto renameInformation = static_cast<FILE_INFORMATION_CLASS>(10);
    const std::wstring name = L"\\??\\" + at(to);
    const std::size_t size = name.size() * sizeof(wchar_t);
    std::vector<BYTE> buffer(sizeof(FILE_RENAME_INFO) + size);
    auto& info = *reinterpret_cast<FILE_RENAME_INFO*>(buffer.data());
    info.FileNameLength = static_cast<DWORD>(size);
    std::memcpy(info.FileName, name.data(), size);
    IO_STATUS_BLOCK status;
    return NT_SUCCESS(
        NtSetInformationFile(object, &status, buffer.data(), static_cast<ULONG>(buffer.size()), renameInformation));
}

UniqueFile LinkTree::open(const std::wstring& path, ACCESS_MASK access) const
{
    return openObject(at(path), access);
}

void LinkTree::clear() const
{
    const Privileges all; // to remove what denies it
    if (!base_.empty())
        removeTree(base_);
}

Snapshot LinkTree::snapshot(const std::wstring& path) const
{
    Snapshot found;
    for (const Entry& entry : entriesOf(at(path))) {
        const std::wstring inside = path.empty() ? entry.name : path + L'\\' + entry.name;
        found[inside] = entry.isTree ? "directory" : entry.isFile ? readFile(at(inside)) : "link";
        if (entry.isTree)
            found.merge(snapshot(inside));
    }
    return found;
}
