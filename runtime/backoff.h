#pragma once

#include <windows.h>

#include <algorithm>

/// Pauses between attempts. Each is twice as long as the previous one, up to a limit.
class Backoff
{
public:
    /// @param first, longest  milliseconds
    Backoff(DWORD first, DWORD longest) noexcept : next_(first), longest_(longest) {}

    void pause() noexcept
    {
        Sleep(next_);
        next_ = std::min(next_ * 2, longest_);
    }

private:
    DWORD next_;
    DWORD longest_;
};
