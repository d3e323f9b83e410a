#include "runtime/vosexception.h"

#include <gtest/gtest.h>

TEST(VOsException, SaysCodeAndCallAndWhere)
{
    const vosexception failure(ERROR_ACCESS_DENIED, L"OpenService 'x'", {"service::exist", 7});
    const std::wstring system = systemMessage(ERROR_ACCESS_DENIED);
    EXPECT_FALSE(system.empty() || system.back() == L'\n' || system.back() == L'\r');
    EXPECT_EQ(system + L" (Error code 5) at OpenService 'x'\n   at (service::exist line 7)", failure.fullText());
    EXPECT_EQ(L"Unknown error (Error code 4294967295)", vosexception(~0u, L"", {"f"}).message());
}
