#include "runtime/vmutex.h"

#include "runtime/handle/handles.h"
#include "test/failure.h"

#include <sddl.h>

TEST(VMutex, LocksAMutexThatMayOnlyBeWaitedFor)
{
    constexpr wchar_t name[] = L"mendkit_vmutex_test";
    SECURITY_ATTRIBUTES attributes{sizeof attributes, nullptr, FALSE};
    ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(
        L"D:(A;;0x100000;;;WD)", SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr)); // SYNCHRONIZE
    const UniqueLocalMemory memory(attributes.lpSecurityDescriptor);
    const UniqueHandle other(CreateMutexW(&attributes, FALSE, name));
    ASSERT_FALSE(UniqueHandle(CreateMutexW(nullptr, FALSE, name)));
    ASSERT_EQ(DWORD{ERROR_ACCESS_DENIED}, GetLastError());

    EXPECT_EQ(L"nothing thrown", failureOf([&] {
        VMutex mutex(name);
        mutex.lock();
        EXPECT_TRUE(ReleaseMutex(other.get())) << "it is the same mutex, and locked by this thread";
    }));
}
