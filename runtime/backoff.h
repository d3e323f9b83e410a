#pragma once

#include <windows.h>

#include <algorithm>

/// Pauses between attempts: each twice as long as the one before, up to a limit.
class Backoff
{
public:
    /// @param first, longest  milliseconds
    Backoff(DWORD first, DWORD longest) noexcept : next_(first), longest_(longest) {}

    /// Sleeps for the next pause.
    void pause() noexcept
    {
        Sleep(next_);
        next_ = std::min(next_ * 2, longest_);
    }

private:
    DWORD next_;
    DWORD longest_;
};
