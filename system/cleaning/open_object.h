#pragma once

#include "system/cleaning/idirectory_source.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Holds a handle only: owns an open object of a source and closes it.
class OpenObject
{
public:
    explicit OpenObject(IDirectorySource& source) noexcept : source_(&source) {}
    OpenObject(OpenObject&& other) noexcept : source_(other.source_), handle_(std::exchange(other.handle_, nullptr))
    {
    }
    OpenObject& operator=(OpenObject&& other) noexcept
    {
        close();
        source_ = other.source_;
        handle_ = std::exchange(other.handle_, nullptr);
        return *this;
    }
    ~OpenObject() { close(); }

    IDirectorySource::Handle get() const noexcept { return handle_; }

    /// The handle as an output parameter. An open object is closed first.
    IDirectorySource::Handle& receive() noexcept
    {
        close();
        return handle_;
    }

    void close() noexcept
    {
        if (handle_)
            source_->close(std::exchange(handle_, nullptr));
    }

private:
    IDirectorySource* source_;
    IDirectorySource::Handle handle_ = nullptr;
};

/// Holds data only: an open directory and its location (IDirectorySource::locationOf).
struct DirectoryAt
{
    OpenObject object;
    std::wstring location;
};

/// Holds data only: a directory that was opened by its path.
struct WalkedDirectory
{
    /// A directory on the way, the volume's root (without a name) and the last directory included.
    struct Step
    {
        std::wstring name;
        FileId id;
        bool hasId;
    };

    DirectoryAt at;
    std::vector<Step> steps;
    bool isRoot = false; // of a volume
};

/// Decides whether an object's location is that of the directory followed by this name.
/// @param directory, location  as IDirectorySource::locationOf
bool liesAt(std::wstring_view directory, std::wstring_view name, std::wstring_view location);
