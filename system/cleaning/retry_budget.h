#pragma once

#include "system/cleaning/win32_codes.h"

/// How long removals may wait for others in all: short pauses, out of one budget for the life of the object. A
/// thousand locked files thus cost no more than the budget.
class RetryBudget
{
public:
    explicit RetryBudget(long budgetMilliseconds) noexcept : left_(budgetMilliseconds) {}

    /// Repeats an attempt while its Win32 code says that the obstacle may pass: somebody has the object open, its
    /// removal is under way, or a directory's last entry is, or it was moved between two looks. @return the last code
    template <typename Attempt>
    DWORD repeat(const Attempt& attempt)
    {
        constexpr int mostAttempts = 15;
        constexpr long pause = 10;
        for (int attempts = 1;; ++attempts) {
            const DWORD code = attempt();
            const bool mayPass = code == ERROR_SHARING_VIOLATION || code == ERROR_DELETE_PENDING ||
                                 code == ERROR_DIR_NOT_EMPTY ||
                                 code == leadsElsewhere; // where removed objects wait for their last handle
            if (!mayPass || attempts == mostAttempts || left_ < pause)
                return code;
            left_ -= pause;
            Sleep(static_cast<DWORD>(pause));
        }
    }

private:
    long left_;
};
