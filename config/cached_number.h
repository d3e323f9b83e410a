#pragma once

#include <windows.h>

/// A REG_DWORD of the product's key that is consulted all the time: read on the 1st, 17th, 33rd ... query,
/// the last number read in between, 0 before. A missing value leaves the number as it was.
class CachedNumber
{
public:
    /// @param name  name of the value; a literal, not copied
    explicit constexpr CachedNumber(const wchar_t* name) noexcept : name_(name) {}

    /// One query. @throws vexception when a due read finds a value of the wrong type or size
    DWORD query();

    /// The last number read; no query.
    DWORD cached() const noexcept { return number_; }

private:
    const wchar_t* name_;
    DWORD number_ = 0;
    unsigned queries_ = 0;
};
