// How the system loads the program.

#include "proof/facts/needs.h"
#include "test/program.h"

#include <winternl.h>

TEST(Start, AddressSpaceLayout)
{
    SKIP_UNDER_WINE("no random addresses (Wine 8)");
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    ASSERT_TRUE(CreateProcessW(builtProgram(L"app\\mendkit.exe").c_str(), nullptr, nullptr, nullptr, FALSE,
        CREATE_SUSPENDED | CREATE_NO_WINDOW, nullptr, nullptr, &startup, &started));
    const UniqueHandle process(started.hProcess), thread(started.hThread);
    PROCESS_BASIC_INFORMATION basic{};
    const NTSTATUS status =
        NtQueryInformationProcess(process.get(), ProcessBasicInformation, &basic, sizeof basic, nullptr);
    constexpr std::size_t imageBaseAt = 0x10; // in the process environment block of a 64-bit process
    ULONGLONG base = 0;
    const bool isRead = ReadProcessMemory(process.get(),
        reinterpret_cast<const BYTE*>(basic.PebBaseAddress) + imageBaseAt, &base, sizeof base, nullptr);
    TerminateProcess(process.get(), 1);
    ASSERT_TRUE(status >= 0 && isRead);
    EXPECT_NE(0x140000000u, base) << "the image lies at the address that it was linked for";
    EXPECT_LT(0x100000000u, base) << "the image lies below 4 GiB: no high entropy";
}
