#pragma once

#include "runtime/file_id.h"
#include "system/cleaning/directory_entry.h"
#include "system/cleaning/win32_codes.h"

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

/// The kind of an open object.
enum class ObjectKind
{
    file, // also a link to a file: opens never follow it, and removal removes the link
    directory,
    link // a directory with the tag of a name surrogate, or with an unknown reparse tag
};

/// How an object is opened. Links are never followed.
struct Opening
{
    enum class Type
    {
        any,
        file,
        directory
    };
    Type type = Type::any;
    bool list = false;     // to list its entries
    bool remove = false;   // to remove it
    bool pinned = false;   // while it is open, no other handle may rename or remove it
    bool anyCase = false;  // the name's letter case is ignored
    bool security = false; // to read its owner and access list
};

/// One entry as the file system lists it, with the bytes that it takes on the volume.
struct ListedEntry
{
    DirectoryEntry entry;
    std::uint64_t allocationSize;
};

/// The interface between the classes that decide and the file system. An object is opened by its name in an open
/// directory. Its handle then serves to query, list and remove it.
/// Operations return Win32 codes, since many failures are expected here. They throw only std::bad_alloc.
class IDirectorySource
{
public:
    using Handle = void*;

    virtual ~IDirectorySource() = default;

    /// Opens the root of a volume, of the form "\\?\X:\", "\\?\UNC\server\share\" or "\\?\Volume{...}\".
    /// @param list  to list its entries
    virtual DWORD openRoot(const std::wstring& root, bool list, Handle& opened) = 0;

    /// Opens a directory by its path as any other program does: the system follows the links in it.
    virtual DWORD openPlainly(const std::wstring& path, Handle& opened) = 0;

    /// @param name  one name, taken literally: no separators, no ".", nothing is trimmed
    /// @return a Win32 code. leadsElsewhere: the directory has become a link since it was opened.
    ///         unexpectedDirectory: a directory, opened as a file. ERROR_DIRECTORY: a file, opened as a directory.
    virtual DWORD open(Handle directory, std::wstring_view name, const Opening& opening, Handle& opened) = 0;

    virtual void close(Handle object) noexcept = 0;

    virtual DWORD kindOf(Handle object, ObjectKind& kind) = 0;

    /// The object's current full name in the object manager, such as "\Device\HarddiskVolume1\Temp".
    virtual DWORD locationOf(Handle object, std::wstring& location) = 0;

    /// The object's current path with a drive letter or the name of its volume, in long names: "\\?\C:\Temp".
    virtual DWORD pathOf(Handle object, std::wstring& path) = 0;

    virtual DWORD idOf(Handle object, FileId& id) = 0;

    /// Whether the object lies on another machine, as far as the system tells.
    virtual bool isRemote(Handle object) noexcept = 0;

    /// The paths at which a volume is mounted: drive letters ("X:\") and directories ("C:\Mount\").
    /// @param volume  "\\?\Volume{...}\"
    virtual DWORD mountsOf(const std::wstring& volume, std::vector<std::wstring>& paths) = 0;

    /// Reads the next entries of a directory, "." and ".." included.
    /// @param first    whether to start from the first entry
    /// @param entries  replaced
    /// @return ERROR_NO_MORE_FILES after the last entry
    virtual DWORD list(Handle directory, bool first, std::vector<ListedEntry>& entries) = 0;

    /// Removes the object; a directory must be empty. Its name is free when its last handle closes, or earlier.
    /// The holder of an oplock can make this wait.
    virtual DWORD remove(Handle object) = 0;

    /// Called by another thread while remove() waits: it returns ERROR_OPERATION_ABORTED.
    virtual void cancelRemoval() noexcept = 0;

    /// A link's target: an absolute path of the form "\\?\...", or one relative to the link's directory.
    virtual DWORD targetOf(Handle link, std::wstring& target) = 0;

    /// Whether a link is owned by SYSTEM, Administrators or TrustedInstaller, and no other account may change it.
    virtual bool isTrusted(Handle link) noexcept = 0;
};
