#pragma once

#include "system/cleaning/idirectory_source.h"

#include <string>
#include <string_view>
#include <utility>

/// An open object of a source; closes it.
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

    /// For the source's operations that open; what was open is closed first.
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

/// An open directory and where it was found to lie.
struct DirectoryAt
{
    OpenObject object;
    std::wstring location;
};

/// Whether the object lies in the directory under just this name.
bool liesAt(std::wstring_view directory, std::wstring_view name, std::wstring_view location);
