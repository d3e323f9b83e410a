#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

/// A date and time of day with milliseconds, without a time zone.
class VDateTime
{
public:
    explicit VDateTime(const SYSTEMTIME& time) noexcept : time_(time) {}
    /// The current local time.
    static VDateTime local() noexcept;

    const SYSTEMTIME& fields() const noexcept { return time_; }

    /// "20261116"
    std::wstring compactDate() const;
    /// "2026/11/16 04:53:12.345"
    std::wstring timeStamp() const;

    /// The difference in units of 100 nanoseconds; negative when `earlier` is later than this.
    /// @throws vosexception "SystemTimeToFileTime" when one of them is not a valid date
    std::int64_t operator-(const VDateTime& earlier) const;

    /// Whether this time is before the other.
    bool operator<(const VDateTime& other) const noexcept;

private:
    SYSTEMTIME time_;
};
