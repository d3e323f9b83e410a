#pragma once

#include "proof/facts/other_account.h"
#include "test/kit.h"

#include <gtest/gtest.h>

// What a fact needs from the machine. Each of these skips the test with the reason. They stand in the test's own
// body.

#define NEEDS_DISK()                                                                                                 \
    if (kit::drive().empty())                                                                                        \
    GTEST_SKIP() << "the kit has no disk of its own"

#define NEEDS_BARE_VOLUME()                                                                                          \
    if (kit::bareVolume().empty())                                                                                   \
    GTEST_SKIP() << "the kit has no second volume"

#define NEEDS_ACCOUNT()                                                                                              \
    if (const std::string refusal = AsOtherAccount::refusal(); !refusal.empty())                                     \
    GTEST_SKIP() << refusal

#define NEEDS_WINDOWS_TEMP()                                                                                         \
    if (!kit::mayEmptyWindowsTemp())                                                                                 \
    GTEST_SKIP() << "Windows\\Temp may be emptied with --empty-windows-temp only"
