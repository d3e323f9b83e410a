#pragma once

#include "logging/crash/vectored_exception_handler.h"
#include "runtime/fault/translator.h"

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
