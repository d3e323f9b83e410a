#pragma once

#include <windows.h>

/// A routine that sees every exception of the process before any frame does; removed with the object.
class VectoredExceptionHandler
{
public:
    VectoredExceptionHandler() = default;
    /// Registers the routine before all others of its kind.
    explicit VectoredExceptionHandler(PVECTORED_EXCEPTION_HANDLER routine) noexcept
        : handle_(AddVectoredExceptionHandler(1, routine))
    {
    }
    VectoredExceptionHandler(const VectoredExceptionHandler&) = delete;
    VectoredExceptionHandler& operator=(const VectoredExceptionHandler&) = delete;
    virtual ~VectoredExceptionHandler();

    bool isRegistered() const noexcept { return handle_ != nullptr; }

private:
    void* handle_ = nullptr;
};
