#pragma once

#include "runtime/handle/handles.h"

#include <map>
#include <string>
#include <utility>

// Makes, reads and removes trees of files with links in them, without following a link.

/// Access lists of links, in SDDL: any account may change the link; or only SYSTEM and Administrators, and
/// Administrators own it. Tests that do not name one accept both.
inline constexpr wchar_t ofOthers[] = L"D:P(A;;FA;;;WD)",
                         ofAdministrators[] = L"O:BAD:P(A;;FA;;;BA)(A;;FA;;;SY)(A;;FRFX;;;WD)";

/// One object of a tree.
struct Node
{
    enum class Kind
    {
        directory,
        file,
        junction,
        directoryLink, // symbolic links
        fileLink,
        taggedDirectory,
        taggedFile
    };
    Kind kind;
    std::wstring path;         // below the tree's folder
    std::wstring target = L""; // of links: an absolute path; of symbolic links also a relative or rooted path
    DWORD tag = 0;             // of tagged objects
    std::wstring rights = L""; // a security descriptor in SDDL; empty: the default one

    Node with(const wchar_t* descriptor) const
    {
        Node changed = *this;
        changed.rights = descriptor;
        return changed;
    }
};

inline Node directory(std::wstring path)
{
    return {Node::Kind::directory, std::move(path)};
}
inline Node file(std::wstring path)
{
    return {Node::Kind::file, std::move(path)};
}
inline Node junction(std::wstring path, std::wstring target)
{
    return {Node::Kind::junction, std::move(path), std::move(target)};
}
inline Node directoryLink(std::wstring path, std::wstring target)
{
    return {Node::Kind::directoryLink, std::move(path), std::move(target)};
}
inline Node fileLink(std::wstring path, std::wstring target)
{
    return {Node::Kind::fileLink, std::move(path), std::move(target)};
}
inline Node taggedDirectory(std::wstring path, DWORD tag)
{
    return {Node::Kind::taggedDirectory, std::move(path), L"", tag};
}
inline Node taggedFile(std::wstring path, DWORD tag)
{
    return {Node::Kind::taggedFile, std::move(path), L"", tag};
}

/// Each path below a folder with its object: "directory", "link" or the file's content.
using Snapshot = std::map<std::wstring, std::string>;

/// A new folder in the root of a volume; removed with its content by the destructor. On a real Windows it lies on the
/// kit's disk, and without one there is no folder.
class LinkTree
{
public:
    LinkTree();
    LinkTree(const LinkTree&) = delete;
    LinkTree& operator=(const LinkTree&) = delete;
    ~LinkTree();

    std::wstring at(const std::wstring& path) const { return path.empty() ? base_ : base_ + L'\\' + path; }

    bool exists() const { return !base_.empty(); }

    /// Replaces @ in a text by the folder's path, # by its path without the drive, ^ by the root of its volume and %
    /// by the name of that volume as mount points hold it: "\\??\\Volume{...}\\".
    std::wstring expanded(std::wstring text) const;

    /// Makes an object and the directories above it. @return false, with the last error, on failure
    bool make(const Node& node) const;

    /// Whether the system supports links.
    bool canLink() const;

    /// Gives an object, or a link itself, an access list and an owner. @param rights  as Node::rights @return as make
    bool protect(const std::wstring& path, const std::wstring& rights) const;

    /// Turns an existing object into a link. @return as make
    bool turnIntoLink(const Node& node) const;

    /// Removes a link, a file or an empty directory. @return as make
    bool remove(const std::wstring& path) const;

    /// Renames a file or a directory, by its path or by a handle opened with DELETE.
    /// @return as make
    bool rename(const std::wstring& from, const std::wstring& to) const;
    bool rename(HANDLE object, const std::wstring& to) const;

    /// Opens an object without following a link, in all sharing modes. @return empty on failure
    UniqueFile open(const std::wstring& path, ACCESS_MASK access) const;

    /// Removes the folder with its content.
    void clear() const;

    Snapshot snapshot(const std::wstring& path = L"") const;

private:
    std::wstring base_;
};
