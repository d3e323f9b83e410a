// The guard value of the stack protector (-fstack-protector-strong) and what happens when it was overwritten. GCC's
// own take the value from the cryptographic provider, which loads a dozen DLLs and doubles the time of the start.

#include "runtime/fault/process_end.h"

#include <windows.h>

#include <x86intrin.h>

#include <cstdint>

extern "C" {

std::uintptr_t __stack_chk_guard; // NOLINT(bugprone-reserved-identifier,cert-dcl*): the compiler's name

/// Called by a function whose guard has changed. Its frames may be forged: nothing is unwound.
[[noreturn]] void __stack_chk_fail() // NOLINT(bugprone-reserved-identifier,cert-dcl*)
{
    writeLastLine("Unexpected end of the program: a buffer on the stack overflowed\r\n");
    endProcess();
}
}

namespace {

/// Makes the value unpredictable for other processes: it depends on the random place of stack and image, and on
/// clocks. Before all other constructors, and without a guard of its own.
#pragma GCC diagnostic ignored "-Wprio-ctor-dtor"
__attribute__((constructor(100), no_stack_protector)) void seedGuard()
{
    constexpr std::uint64_t factor = 0x9e3779b97f4a7c15; // 2^64 divided by the golden ratio: spreads every bit
    LARGE_INTEGER counter;
    FILETIME now;
    QueryPerformanceCounter(&counter);
    GetSystemTimeAsFileTime(&now);
    std::uint64_t value = 0;
    for (const std::uint64_t source :
        {reinterpret_cast<std::uint64_t>(&counter), reinterpret_cast<std::uint64_t>(&seedGuard),
            static_cast<std::uint64_t>(__rdtsc()), static_cast<std::uint64_t>(counter.QuadPart),
            std::uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime, std::uint64_t{GetCurrentProcessId()}}) {
        value = (value ^ source) * factor;
        value ^= value >> 29;
    }
    // Two zero bytes first: a text that runs past its buffer cannot rewrite the guard with its own value.
    __stack_chk_guard = value & ~std::uint64_t{0xffff};
}

} // namespace
