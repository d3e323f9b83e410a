#pragma once

#include "system/cleaning/directory_entry.h"
#include "system/cleaning/win32_codes.h"

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

/// What an open object says that it is.
enum class ObjectKind
{
    file, // also a link to one: whatever is done to it is done to the link
    directory,
    link // a directory that stands for another name, or whose reparse tag cannot be told
};

/// What an object is opened for. Links are never followed.
struct Opening
{
    enum class Type
    {
        any,
        file,
        directory
    };
    Type type = Type::any;
    bool list = false;     // its entries are to be listed
    bool remove = false;   // it is to be removed
    bool pinned = false;   // nobody else may rename or remove it meanwhile
    bool anyCase = false;  // the name may be written in other letter case
    bool security = false; // it will be asked whose it is
};

/// How the cleaning of directories reaches the file system: an object is opened by its name within an open
/// directory, and from then on asked, listed and removed by its handle alone. Operations return Win32 codes,
/// since most failures here are part of the work; they throw nothing but std::bad_alloc.
class IDirectorySource
{
public:
    using Handle = void*;

    virtual ~IDirectorySource() = default;

    /// Opens the root of a volume, of the form "\\?\X:\", "\\?\UNC\server\share\" or "\\?\Volume{...}\".
    virtual DWORD openRoot(const std::wstring& root, Handle& opened) = 0;

    /// @param name  one name, taken literally: no separators, no ".", nothing is trimmed
    /// @return also leadsElsewhere when the directory has become a link, unexpectedDirectory for a directory and
    ///         ERROR_DIRECTORY for a file, where the other was wanted
    virtual DWORD open(Handle directory, std::wstring_view name, const Opening& opening, Handle& opened) = 0;

    virtual void close(Handle object) noexcept = 0;

    virtual DWORD kindOf(Handle object, ObjectKind& kind) = 0;

    /// Where the object really lies now, in the system's own notation.
    virtual DWORD locationOf(Handle object, std::wstring& location) = 0;

    /// The next piece of a directory's entries, "." and ".." among them.
    /// @param first    start from the beginning
    /// @param entries  replaced
    /// @return ERROR_NO_MORE_FILES when there are no more
    virtual DWORD list(Handle directory, bool first, std::vector<DirectoryEntry>& entries) = 0;

    /// Removes the object itself; a directory must be empty. Its name is gone at the latest when it is closed.
    virtual DWORD remove(Handle object) = 0;

    /// Where a link leads: an absolute path of the form "\\?\...", or one relative to the link's directory.
    virtual DWORD targetOf(Handle link, std::wstring& target) = 0;

    /// Whether a link is the machine's own: it belongs to SYSTEM, Administrators or TrustedInstaller, and nobody
    /// else may change it.
    virtual bool isTrusted(Handle link) noexcept = 0;
};
