#pragma once

#include "logging/crash/vectored_exception_handler.h"
#include "runtime/fault/translator.h"

/// Records heap corruptions, which may never reach a frame's handler. Lets the search for a handler continue after
/// every exception. One object per process.
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
