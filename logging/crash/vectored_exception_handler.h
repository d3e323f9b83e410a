#pragma once

#include <windows.h>

/// Owns a vectored exception handler: a routine called for every exception of the process before the frames'
/// handlers. The destructor removes it.
class VectoredExceptionHandler
{
public:
    VectoredExceptionHandler() = default;
    /// Registers the routine as the first vectored handler.
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
