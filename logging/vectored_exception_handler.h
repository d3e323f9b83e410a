#pragma once

#include "runtime/structured_exception.h"

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

/// Has heap corruptions recorded, which may not reach any frame; then, as for every other exception, the search for
/// whoever handles it goes on. There is one in a process.
class HeapCorruptionHandler : public VectoredExceptionHandler
{
public:
    static constexpr DWORD code = 0xc0000374; // STATUS_HEAP_CORRUPTION

    /// Registers nothing.
    HeapCorruptionHandler() = default;
    /// @param record  called on the thread of the corruption; must not throw
    explicit HeapCorruptionHandler(structured_exception::Observer record) noexcept;
    ~HeapCorruptionHandler() override;

private:
    static LONG CALLBACK routine(EXCEPTION_POINTERS* pointers);

    inline static structured_exception::Observer record_ = nullptr;
};
