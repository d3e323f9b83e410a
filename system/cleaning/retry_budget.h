#pragma once

#include "system/cleaning/win32_codes.h"

/// Decides which failures are tried again, and for how long. All retries share one budget for the life of the object,
/// so a thousand locked files wait no longer than one.
class RetryBudget
{
public:
    explicit RetryBudget(DWORD budgetMilliseconds) noexcept : left_(budgetMilliseconds) {}

    /// Repeats an attempt while its Win32 code may change soon: the object is open elsewhere, its removal or that of
    /// a directory's last entry is pending, or it was moved between two steps.
    /// @return the code of the last attempt
    template <typename Attempt>
    DWORD repeat(const Attempt& attempt)
    {
        constexpr int mostAttempts = 15;
        constexpr DWORD pause = 10;
        for (int attempts = 1;; ++attempts) {
            const DWORD code = attempt();
            const bool mayPass = code == ERROR_SHARING_VIOLATION || code == ERROR_DELETE_PENDING ||
                                 code == ERROR_DIR_NOT_EMPTY ||
                                 // NTFS keeps a deleted object in another directory until its last handle closes.
                                 code == leadsElsewhere;
            if (!mayPass || attempts == mostAttempts || left_ < pause)
                return code;
            // A pause can last longer than it was asked for: a system tick, or long on a busy machine.
            const ULONGLONG start = GetTickCount64();
            Sleep(pause);
            const ULONGLONG passed = GetTickCount64() - start;
            left_ -= passed < pause ? pause : passed < left_ ? static_cast<DWORD>(passed) : left_;
        }
    }

private:
    DWORD left_; // milliseconds
};
