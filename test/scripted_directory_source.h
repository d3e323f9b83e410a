#pragma once

#include "runtime/handle/handles.h"
#include "system/cleaning/idirectory_source.h"

#include <deque>
#include <functional>
#include <map>
#include <sstream>

/// An object of a file system in memory.
struct Node
{
    std::wstring name;
    Node* parent;
    ObjectKind kind;
    Node* target = nullptr; // of a link
    std::wstring targetPath = {};
    bool isTrusted = false, isHeld = false; // held: its removal waits until it is cancelled
    std::map<std::wstring, Node*> children = {};
};

/// A file system in memory with the volume X: and others. `disturb` is called before every step and may change it.
class ScriptedSource : public IDirectorySource
{
public:
    std::function<void(int step)> disturb = [](int) {};
    std::function<void()> afterRemoval = [] {};
    int steps = 0, openObjects = 0, cancelled = 0;
    bool tellsIds = true, remote = false;
    std::map<std::wstring, Node*> volumes; // by their names, "\\\\?\\Volume{...}\\"
    std::vector<std::wstring> mounts;      // of every such volume
    /// Where the system finds a path, when that is not where its names lead.
    std::map<std::wstring, Node*> plainly;

    Node* add(Node* parent, const std::wstring& name, ObjectKind kind = ObjectKind::directory)
    {
        return parent->children[name] = &nodes_.emplace_back(Node{name, parent, kind});
    }
    Node* link(Node* parent, const std::wstring& name, Node* target, const std::wstring& path = {})
    {
        Node* const made = add(parent, name, ObjectKind::link);
        made->target = target;
        made->targetPath = path;
        return made;
    }
    static Node* find(const Node* parent, const std::wstring& name)
    {
        const auto found = parent->children.find(name);
        return found == parent->children.end() ? nullptr : found->second;
    }
    /// Moves the node out of the volume.
    void detach(Node* node)
    {
        if (!node)
            return;
        if (find(node->parent, node->name) == node)
            node->parent->children.erase(node->name);
        node->parent = &attic_;
    }
    void replaceByLink(Node* node, Node* target)
    {
        if (!node)
            return;
        Node* const parent = node->parent;
        detach(node);
        link(parent, node->name, target);
    }
    /// Makes the same object a link. Its children leave the volume.
    void turnIntoLink(Node* node, Node* target)
    {
        for (auto& [name, child] : node->children)
            child->parent = &attic_;
        node->children.clear();
        node->kind = ObjectKind::link;
        node->target = target;
    }

    /// The names of all objects in a directory and below.
    static std::wstring content(const Node* node)
    {
        std::wstring all;
        for (const auto& [name, child] : node->children)
            all += name + L" (" + content(child) + L") ";
        return all;
    }

    DWORD openRoot(const std::wstring& root, bool, Handle& opened) override
    {
        step();
        const auto other = volumes.find(root);
        return hand(other == volumes.end() ? volume : other->second, opened);
    }
    DWORD openPlainly(const std::wstring& path, Handle& opened) override
    {
        step();
        if (const auto known = plainly.find(path); known != plainly.end())
            return hand(known->second, opened);
        Node* node = volume;
        std::wstringstream names(path.substr(path.find(L':') + 1));
        for (std::wstring name; node && std::getline(names, name, L'\\');) {
            if (!name.empty() && (node = find(node, name)))
                node = resolve(node);
        }
        return node ? hand(node, opened) : DWORD{ERROR_PATH_NOT_FOUND};
    }
    DWORD open(Handle directory, std::wstring_view name, const Opening& opening, Handle& opened) override
    {
        step();
        Node* const found = find(resolve(directory), std::wstring(name));
        if (!found)
            return ERROR_FILE_NOT_FOUND;
        const bool isFile = found->kind == ObjectKind::file;
        if (opening.type != Opening::Type::any && (opening.type == Opening::Type::file) != isFile)
            return isFile ? DWORD{ERROR_DIRECTORY} : unexpectedDirectory;
        return hand(found, opened);
    }
    void close(Handle) noexcept override { --openObjects; }
    DWORD kindOf(Handle object, ObjectKind& kind) override
    {
        step();
        kind = static_cast<Node*>(object)->kind;
        return ERROR_SUCCESS;
    }
    DWORD locationOf(Handle object, std::wstring& location) override
    {
        step();
        location.clear();
        for (const Node* node = static_cast<Node*>(object); node; node = node->parent)
            location.insert(0, L"\\" + node->name);
        return ERROR_SUCCESS;
    }
    DWORD pathOf(Handle object, std::wstring& path) override
    {
        locationOf(object, path);
        path.replace(0, volume->name.size() + 1, L"\\\\?\\X:");
        return ERROR_SUCCESS;
    }
    DWORD idOf(Handle object, FileId& id) override
    {
        id = {{}, 1, reinterpret_cast<std::uintptr_t>(object)};
        return tellsIds ? ERROR_SUCCESS : ERROR_NOT_SUPPORTED;
    }
    bool isRemote(Handle) noexcept override { return remote; }
    DWORD mountsOf(const std::wstring&, std::vector<std::wstring>& paths) override
    {
        paths = mounts;
        return ERROR_SUCCESS;
    }
    /// Lists the entries in the order of their names, two at a time; those that were added meanwhile too.
    DWORD list(Handle directory, bool first, std::vector<ListedEntry>& entries) override
    {
        step();
        if (first)
            last_.clear();
        entries.clear();
        const auto& children = resolve(directory)->children;
        for (auto next = children.upper_bound(last_); next != children.end() && entries.size() < 2; ++next) {
            const auto& [name, child] = *next;
            const DWORD type = child->kind == ObjectKind::file ? FILE_ATTRIBUTE_NORMAL : FILE_ATTRIBUTE_DIRECTORY;
            const bool isLink = child->kind == ObjectKind::link;
            entries.push_back({{name, type, isLink, isLink, 1, {}, {}, {}}, 4096});
            last_ = name;
        }
        return entries.empty() ? ERROR_NO_MORE_FILES : ERROR_SUCCESS;
    }
    DWORD remove(Handle object) override
    {
        step();
        Node* const node = static_cast<Node*>(object);
        if (node->isHeld) {
            WaitForSingleObject(cancel_.get(), INFINITE);
            ++cancelled;
            return ERROR_OPERATION_ABORTED;
        }
        if (!node->children.empty())
            return ERROR_DIR_NOT_EMPTY;
        detach(node);
        afterRemoval();
        return ERROR_SUCCESS;
    }
    void cancelRemoval() noexcept override { SetEvent(cancel_.get()); }
    DWORD targetOf(Handle link, std::wstring& target) override
    {
        target = static_cast<Node*>(link)->targetPath;
        return ERROR_SUCCESS;
    }
    bool isTrusted(Handle link) noexcept override { return static_cast<Node*>(link)->isTrusted; }

private:
    /// Follows links, also when the directory became a link after its handle was opened.
    static Node* resolve(Handle directory)
    {
        Node* node = static_cast<Node*>(directory);
        while (node->kind == ObjectKind::link)
            node = node->target;
        return node;
    }
    void step() { disturb(steps++); }
    DWORD hand(Node* node, Handle& opened)
    {
        ++openObjects;
        opened = node;
        return ERROR_SUCCESS;
    }

    std::deque<Node> nodes_;
    Node attic_{L"attic", nullptr, ObjectKind::directory};
    std::wstring last_; // listed
    UniqueHandle cancel_{CreateEventW(nullptr, FALSE, FALSE, nullptr)};

public:
    Node* const volume = &nodes_.emplace_back(Node{L"vol", nullptr, ObjectKind::directory});
};
