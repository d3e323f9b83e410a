#pragma once

#include <windows.h>

/// Limits the duration of calls that may not return. A thread of its own watches all deadlines of the process. It
/// starts with the first deadline, lasts as long as the process, and needs neither the heap nor the loader.
class Deadline
{
public:
    /// Ends the watched call from the watching thread. Called again every 100 ms until the call has returned. Must
    /// not wait, and must not use a deadline.
    using Expire = void (*)(void* context) noexcept;

    /// @param milliseconds  the limit of each watched call, exceeded by at most 200 ms
    /// @param context       weak: passed to `expire`
    Deadline(DWORD milliseconds, Expire expire, void* context) noexcept;
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
    ~Deadline();

    /// Encloses a call that is to be watched. When this returns from end(), `expire` is not being called. Without
    /// memory for the watching thread calls are not limited.
    void begin() noexcept;
    void end() noexcept;

private:
    static DWORD WINAPI watch(void*) noexcept;

    const DWORD limit_;
    const Expire expire_;
    void* const context_;
    ULONGLONG begun_ = 0; // GetTickCount64; 0: no call is watched
    Deadline* next_;

    inline static SRWLOCK lock_ = SRWLOCK_INIT; // protects all below and begun_
    inline static Deadline* first_ = nullptr;
    inline static bool isWatching_ = false;
};
