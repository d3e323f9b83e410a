#pragma once

#include "system/cleaning/idirectory_source.h"

#include <string>
#include <string_view>
#include <utility>

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

/// Decides whether an object's location is that of the directory followed by this name.
/// @param directory, location  as IDirectorySource::locationOf
bool liesAt(std::wstring_view directory, std::wstring_view name, std::wstring_view location);
