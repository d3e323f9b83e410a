#include "runtime/vdatetime.h"

#include "runtime/failure/vosexception.h"
#include "runtime/text/format.h"

#include <tuple>

namespace {

std::int64_t ticks(const SYSTEMTIME& time)
{
    FILETIME value;
    if (!SystemTimeToFileTime(&time, &value))
        throwLastError({L"SystemTimeToFileTime"}, {"VDateTime::operator-"});
    return static_cast<std::int64_t>((std::uint64_t{value.dwHighDateTime} << 32) | value.dwLowDateTime);
}

} // namespace

VDateTime VDateTime::local() noexcept
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    return VDateTime(now);
}

std::wstring VDateTime::compactDate() const
{
    return formatString(L"%04d%02d%02d", time_.wYear, time_.wMonth, time_.wDay);
}

std::wstring VDateTime::timeStamp() const
{
    return formatString(L"%04d%s%02d%s%02d %02d:%02d:%02d.%03d", time_.wYear, L"/", time_.wMonth, L"/", time_.wDay,
        time_.wHour, time_.wMinute, time_.wSecond, time_.wMilliseconds);
}

std::int64_t VDateTime::operator-(const VDateTime& earlier) const
{
    return ticks(time_) - ticks(earlier.time_);
}

bool VDateTime::operator<(const VDateTime& other) const noexcept
{
    // Not by ticks(), which throws for an invalid date.
    const auto fields = [](const SYSTEMTIME& time) {
        return std::tie(
            time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond, time.wMilliseconds);
    };
    return fields(time_) < fields(other.time_);
}
