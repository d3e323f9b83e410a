#include "runtime/vmutex.h"

#include "runtime/identity.h"
#include "test/failure.h"
#include "test/privileges.h"

#include <sddl.h>

TEST(VMutex, IsTrustedByItsOwner)
{
    const std::wstring user = identity::currentUser().text();
    const struct
    {
        std::wstring descriptor;
        bool isTrusted;
    } rows[] = {{L"O:SYD:(A;;0x1f0001;;;WD)", true}, {L"O:BAD:(A;;0x1f0001;;;WD)", true},
        {L"O:" + user + L"D:(A;;0x120000;;;WD)", true}, {L"O:WDD:(A;;0x1f0001;;;WD)", false},
        {L"O:WDD:(A;;0x100000;;;WD)", false}}; // no more than the right to wait
    const Privileges privileges;               // to name other owners
    int number = 0;
    for (const auto& [descriptor, isTrusted] : rows) {
        const std::wstring name = L"mendkit_vmutex_test" + std::to_wstring(number++);
        SECURITY_ATTRIBUTES attributes{sizeof attributes, nullptr, FALSE};
        ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(
            descriptor.c_str(), SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr));
        const UniqueLocalMemory memory(attributes.lpSecurityDescriptor);
        const UniqueHandle other(CreateMutexW(&attributes, FALSE, name.c_str()));
        VMutex mutex(name);
        EXPECT_TRUE(mutex.lock(0)) << testing::PrintToString(descriptor);
        EXPECT_TRUE(ReleaseMutex(other.get())) << "it is the same mutex, and locked by this thread";
        EXPECT_EQ(isTrusted, mutex.isTrusted()) << testing::PrintToString(descriptor);
    }
    const UniqueHandle event(CreateEventW(nullptr, FALSE, FALSE, L"mendkit_vmutex_test"));
    VMutex mutex(L"mendkit_vmutex_test");
    EXPECT_FALSE(mutex.lock(0)) << "another kind of object";
    EXPECT_TRUE(VMutex(L"mendkit_vmutex_test_new").isTrusted());
}
