#include "runtime/vdatetime.h"

#include "runtime/vosexception.h"

#include <gtest/gtest.h>

TEST(VDateTime, FormatsAndSubtracts)
{
    const VDateTime late(SYSTEMTIME{2026, 3, 0, 1, 4, 5, 6, 78}), early(SYSTEMTIME{2026, 2, 0, 28, 4, 5, 6, 77});
    EXPECT_EQ(L"2026/03/01 04:05:06.078", late.timeStamp());
    EXPECT_EQ(L"20260301", late.compactDate());
    EXPECT_EQ(864'000'000'000 + 10'000, late - early);
    EXPECT_EQ(-864'000'000'000 - 10'000, early - late);
    EXPECT_THROW(late - VDateTime(SYSTEMTIME{}), vosexception);
}
