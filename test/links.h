#pragma once

#include "runtime/handle/handles.h"

#include <map>
#include <string>
#include <utility>

// Trees of files with links in them, made, looked at and taken away without following a link.

/// Who may change a link: any account, or the machine alone. Links that tests make without saying so may be either.
inline constexpr wchar_t ofOthers[] = L"D:P(A;;FA;;;WD)",
                         ofMachine[] = L"O:BAD:P(A;;FA;;;BA)(A;;FA;;;SY)(A;;FRFX;;;WD)";

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
    std::wstring target = L""; // of links: an absolute path, or for symbolic links a relative or rooted one
    DWORD tag = 0;             // of tagged objects
    std::wstring rights = L""; // a security descriptor in SDDL; empty: as it comes

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

/// What lies at each path below a folder: "directory", "link" or the file's content.
using Snapshot = std::map<std::wstring, std::string>;

/// A folder in the root of a volume, empty at first, gone at the end.
class LinkTree
{
public:
    LinkTree();
    LinkTree(const LinkTree&) = delete;
    LinkTree& operator=(const LinkTree&) = delete;
    ~LinkTree();

    std::wstring at(const std::wstring& path) const { return path.empty() ? base_ : base_ + L'\\' + path; }

    /// A text in which @ stands for the folder and # for its name in the volume's root.
    std::wstring expanded(std::wstring text) const;

    /// Makes an object, with the directories above it. @return false, with the last error, when it cannot be made
    bool make(const Node& node) const;

    /// Whether the system makes links at all.
    bool canLink() const;

    /// Turns an existing object into a link. @return as make
    bool turnIntoLink(const Node& node) const;

    /// Takes away a link, a file or an empty directory. @return as make
    bool remove(const std::wstring& path) const;

    /// Renames a file or a directory, by its path, or by a handle that was opened with the right to do so.
    /// @return as make
    bool rename(const std::wstring& from, const std::wstring& to) const;
    bool rename(HANDLE object, const std::wstring& to) const;

    /// Opens an object itself, sharing everything. Empty when it cannot be opened.
    UniqueFile open(const std::wstring& path, ACCESS_MASK access) const;

    /// Takes away everything, the folder too.
    void clear() const;

    Snapshot snapshot(const std::wstring& path = L"") const;

private:
    std::wstring base_;
};
