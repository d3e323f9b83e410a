#pragma once

#include "system/idirectory_source.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <map>

/// An object of a file system in memory.
struct Node
{
    enum class Type
    {
        file,
        directory,
        link // to a directory
    };
    std::wstring name;
    Node* parent;
    Type type;
    Node* target = nullptr;
    std::wstring targetPath = {};
    bool isTrusted = false, isLocked = false;
    std::map<std::wstring, Node*> children = {};
};

/// A file system in memory, which may be disturbed before every single call.
class ScriptedSource : public IDirectorySource
{
public:
    std::function<void(int step)> disturb = [](int) {};

    Node* add(Node* parent, const std::wstring& name, Node::Type type = Node::Type::directory)
    {
        return parent->children[name] = &nodes_.emplace_back(Node{name, parent, type});
    }
    Node* link(Node* parent, const std::wstring& name, Node* target, const std::wstring& path = {})
    {
        Node* const made = add(parent, name, Node::Type::link);
        made->target = target;
        made->targetPath = path;
        return made;
    }
    static Node* find(const Node* parent, const std::wstring& name)
    {
        const auto found = parent->children.find(name);
        return found == parent->children.end() ? nullptr : found->second;
    }
    /// Moves it to where nobody finds it.
    void detach(Node* node)
    {
        if (node && node->parent && find(node->parent, node->name) == node)
            node->parent->children.erase(node->name);
        if (node)
            node->parent = &attic_;
    }
    void replaceByLink(Node* node, Node* target)
    {
        Node* const parent = node ? node->parent : nullptr;
        detach(node);
        if (parent)
            link(parent, node->name, target);
    }
    /// The object stays what it is, but leads elsewhere from now on.
    void turnIntoLink(Node* node, Node* target)
    {
        for (auto& [name, child] : node->children)
            child->parent = &attic_;
        node->children.clear();
        node->type = Node::Type::link;
        node->target = target;
    }

    /// All that lies in a directory, by relative paths.
    std::wstring content(const Node* node, const std::wstring& prefix = {}) const
    {
        std::wstring all;
        for (const auto& [name, child] : node->children) {
            const std::wstring path = prefix + name + (child->type == Node::Type::file ? L"" : L"\\");
            all += path + L" " + content(child, path);
        }
        return all;
    }
    /// What was removed, in order, without this beginning.
    std::wstring removals(const std::wstring& beginning) const
    {
        std::wstring all;
        for (const std::wstring& path : removed_)
            all +=
                (path.starts_with(beginning) ? path.substr(beginning.size()) : path.substr(path.rfind(L'\\') + 1)) +
                L" ";
        return all;
    }
    int steps() const { return steps_; }
    int openObjects() const { return openObjects_; }

    DWORD openRoot(const std::wstring&, Handle& opened) override { return step(), hand(volume, opened); }
    DWORD open(Handle directory, std::wstring_view name, const Opening& opening, Handle& opened) override
    {
        step();
        Node* const from = resolve(directory);
        Node* const found = find(from, std::wstring(name));
        if (!found)
            return ERROR_FILE_NOT_FOUND;
        const bool isFile = found->type == Node::Type::file;
        if (opening.type != Opening::Type::any && (opening.type == Opening::Type::file) != isFile)
            return isFile ? DWORD{ERROR_DIRECTORY} : unexpectedDirectory;
        return found->isLocked && opening.remove ? ERROR_SHARING_VIOLATION : hand(found, opened);
    }
    void close(Handle) noexcept override { --openObjects_; }
    DWORD kindOf(Handle object, ObjectKind& kind) override
    {
        step();
        kind = static_cast<ObjectKind>(static_cast<Node*>(object)->type);
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
            const bool isFile = child->type == Node::Type::file, isLink = child->type == Node::Type::link;
            entries.push_back({name, isFile ? DWORD{FILE_ATTRIBUTE_NORMAL} : DWORD{FILE_ATTRIBUTE_DIRECTORY}, isLink,
                isLink, 0, {}, {}, {}});
        }
        return first ? ERROR_SUCCESS : ERROR_NO_MORE_FILES;
    }
    DWORD remove(Handle object) override
    {
        step();
        Node* const node = static_cast<Node*>(object);
        if (!node->children.empty())
            return ERROR_DIR_NOT_EMPTY;
        std::wstring location;
        locationOf(object, location);
        removed_.push_back(location);
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
    /// A directory that has become a link leads on, even what was open before.
    static Node* resolve(Handle directory)
    {
        Node* node = static_cast<Node*>(directory);
        while (node->type == Node::Type::link)
            node = node->target;
        return node;
    }
    void step() { disturb(steps_++); }
    DWORD hand(Node* node, Handle& opened)
    {
        ++openObjects_;
        opened = node;
        return ERROR_SUCCESS;
    }

    std::deque<Node> nodes_;
    Node attic_{L"attic", nullptr, Node::Type::directory};
    int steps_ = 0, openObjects_ = 0;
    std::vector<std::wstring> removed_;

public:
    Node* const volume = &nodes_.emplace_back(Node{L"vol", nullptr, Node::Type::directory});
};
