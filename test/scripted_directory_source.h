#pragma once

#include "system/cleaning/idirectory_source.h"

#include <deque>
#include <functional>
#include <map>

/// An object of a file system in memory.
struct Node
{
    std::wstring name;
    Node* parent;
    ObjectKind kind;
    Node* target = nullptr; // of a link
    std::wstring targetPath = {};
    bool isTrusted = false;
    std::map<std::wstring, Node*> children = {};
};

/// A file system in memory. `disturb` is called before every step and may change it.
class ScriptedSource : public IDirectorySource
{
public:
    std::function<void(int step)> disturb = [](int) {};
    int steps = 0, openObjects = 0;

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

    DWORD openRoot(const std::wstring&, Handle& opened) override
    {
        step();
        return hand(volume, opened);
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
    DWORD list(Handle directory, bool first, std::vector<DirectoryEntry>& entries) override
    {
        step();
        entries.clear();
        for (const auto& [name, child] : resolve(directory)->children) {
            const DWORD type = child->kind == ObjectKind::file ? FILE_ATTRIBUTE_NORMAL : FILE_ATTRIBUTE_DIRECTORY;
            const bool isLink = child->kind == ObjectKind::link;
            entries.push_back({name, type, isLink, isLink, 0, {}, {}, {}});
        }
        return first ? ERROR_SUCCESS : ERROR_NO_MORE_FILES;
    }
    DWORD remove(Handle object) override
    {
        step();
        Node* const node = static_cast<Node*>(object);
        if (!node->children.empty())
            return ERROR_DIR_NOT_EMPTY;
        detach(node);
        return ERROR_SUCCESS;
    }
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

public:
    Node* const volume = &nodes_.emplace_back(Node{L"vol", nullptr, ObjectKind::directory});
};
