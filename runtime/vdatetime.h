#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

/// A date and time of day with milliseconds, as a clock on the wall shows it: no time zone of its own.
class VDateTime
{
public:
    explicit VDateTime(const SYSTEMTIME& time) noexcept : time_(time) {}
    /// Now, in the machine's local time.
    static VDateTime local() noexcept;

    const SYSTEMTIME& fields() const noexcept { return time_; }

    /// "20261116"
    std::wstring compactDate() const;
    /// "2026/11/16 04:53:12.345"
    std::wstring timeStamp() const;

    /// The time between the two in units of 100 nanoseconds; negative when `earlier` is the later one.
    /// @throws vosexception "SystemTimeToFileTime" when one of them is no valid date
    std::int64_t operator-(const VDateTime& earlier) const;

    /// Whether this one shows an earlier time.
    bool operator<(const VDateTime& other) const noexcept;

private:
    SYSTEMTIME time_;
};
