// A memory reserve for the C and C++ run times. They allocate small blocks of their own (thread records, thread-local
// variables, locks) and do not survive a refusal. Seen without this file, with one refusal in a run of --help: a
// refused calloc before the entry point hung the process; refusing everything from the second malloc on ended it with
// exit code 0 and without output. The linker (--wrap) replaces the C run time's allocation functions with the ones
// below. operator new does not use the reserve before openMemoryReserve(): std::bad_alloc is an ordinary failure.

#include "runtime/fault/memory_reserve.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>

#include <malloc.h>

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
void __wrap_free(void* block);
}

namespace {

constexpr std::size_t reserveSize = 65'536, largestBlock = 4096, alignment = 16;
// Explicit section: the compiler would store the zeroes in the program file.
alignas(alignment) __attribute__((section(".bss"))) BYTE reserve[reserveSize];
std::atomic<std::size_t> used = 0;
std::atomic<bool> isOpen = false;

/// A block of the reserve; null when none is left for the size. It is zeroed: no block is handed out twice.
void* fromReserve(std::size_t size) noexcept
{
    if (size > largestBlock)
        return nullptr;
    // A block of size 0 has an address of its own too.
    const std::size_t rounded = (std::max<std::size_t>(size, 1) + alignment - 1) / alignment * alignment;
    std::size_t offset = used;
    while (rounded <= reserveSize - offset) {
        if (used.compare_exchange_weak(offset, offset + rounded))
            return reserve + offset;
    }
    return nullptr;
}

bool isOfReserve(const void* block) noexcept
{
    return block >= reserve && block < reserve + reserveSize;
}

} // namespace

extern "C" void* __wrap_malloc(std::size_t size)
{
    void* const block = __real_malloc(size);
    return block ? block : fromReserve(size);
}

extern "C" void* __wrap_calloc(std::size_t count, std::size_t size)
{
    void* const block = __real_calloc(count, size);
    return block || size == 0 || count > largestBlock / size ? block : fromReserve(count * size);
}

extern "C" void* __wrap_realloc(void* block, std::size_t size)
{
    void* moved = isOfReserve(block) ? nullptr : __real_realloc(block, size);
    if (moved || size == 0)
        return moved;
    moved = isOfReserve(block) ? __wrap_malloc(size) : fromReserve(size);
    if (moved && block) {
        const std::size_t most = isOfReserve(block)
                                     ? static_cast<std::size_t>(reserve + reserveSize - static_cast<BYTE*>(block))
                                     : _msize(block);
        // The size of a reserve block is unknown: this may copy more than it held, and the ranges may overlap.
        memmove(moved, block, std::min(size, most));
        __wrap_free(block);
    }
    return moved;
}

extern "C" void __wrap_free(void* block)
{
    if (!isOfReserve(block))
        __real_free(block);
}

void openMemoryReserve() noexcept
{
    isOpen = true;
}

void* operator new(std::size_t size)
{
    void* block = __real_malloc(std::max<std::size_t>(size, 1));
    if (!block && isOpen)
        block = fromReserve(size);
    return block ? block : throw std::bad_alloc();
}

void operator delete(void* block) noexcept
{
    __wrap_free(block);
}

// NOLINTNEXTLINE(misc-use-internal-linkage): a replacement needs external linkage
void operator delete(void* block, std::size_t) noexcept
{
    __wrap_free(block);
}
