// What the cleaning spares, and which links it follows.

#include "runtime/access_list.h"
#include "runtime/module.h"
#include "system/cleaning/link_target.h"
#include "system/cleaning/link_trust.h"
#include "system/cleaning/machine_directories.h"
#include "test/registry_override.h"
#include "test/replaced_import.h"

#include <aclapi.h>
#include <sddl.h>
#include <winioctl.h>

using namespace std::string_literals;

namespace {

std::wstring descriptorText;

DWORD WINAPI tellSecurity(HANDLE, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID* owner, PSID*, PACL* list,
    PACL*, PSECURITY_DESCRIPTOR* descriptor)
{
    EXPECT_TRUE(type == SE_FILE_OBJECT && what == (OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION));
    BOOL flag = FALSE;
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(
            descriptorText.c_str(), SDDL_REVISION_1, descriptor, nullptr))
        return ERROR_ACCESS_DENIED;
    GetSecurityDescriptorOwner(*descriptor, owner, &flag);
    GetSecurityDescriptorDacl(*descriptor, &flag, list, &flag);
    return ERROR_SUCCESS;
}

std::string reparseData;

BOOL WINAPI tellReparseData(HANDLE, DWORD code, void*, DWORD, void* data, DWORD, DWORD* size, OVERLAPPED*)
{
    EXPECT_EQ(DWORD{FSCTL_GET_REPARSE_POINT}, code);
    memcpy(data, reparseData.data(), reparseData.size());
    *size = static_cast<DWORD>(reparseData.size());
    return TRUE;
}

} // namespace

TEST(Link, LeadsToTheTargetInItsData)
{
    const ReplacedImport control("DeviceIoControl", tellReparseData);
    const std::string junction = "\x03\0\0\xa0"s, symbolic = "\x0c\0\0\xa0"s, absolute = "\\\0?\0?\0\\\0X\0"s,
                      lengths = "\0\0\0\0\x02\0\x0a\0\0\0\0\0"s; // the target begins at 2 and has 10 bytes
    const struct
    {
        std::string data;
        std::wstring target; // "!": none
    } rows[] = {{junction + lengths + "--" + absolute, L"\\\\?\\X"},
        {junction + lengths + "--" + absolute.substr(1), L"!"},
        {symbolic + lengths + "\0\0\0\0--"s + absolute, L"\\\\?\\X"},
        {symbolic + lengths + "\x01\0\0\0--a\0b\0c\0d\0e\0"s, L"abcde"},
        {symbolic + lengths + "\0\0\0\0--a\0b\0c\0d\0e\0"s, L"!"}, {junction + lengths + "--a\0b\0c\0d\0e\0"s, L"!"},
        {"\x14\0\0\x80"s + lengths + "--" + absolute, L"!"}, {junction, L"!"}, {"", L"!"}};
    for (const auto& [data, target] : rows) {
        reparseData = data;
        std::wstring found;
        EXPECT_EQ(target, linkTarget(nullptr, found) == ERROR_SUCCESS ? found : L"!") << testing::PrintToString(data);
    }
}

TEST(Link, IsTrustedWhenNobodyElseMayChangeIt)
{
    const ReplacedImport security("GetSecurityInfo", tellSecurity);
    const std::wstring own = L"O:BAD:(A;;GA;;;BA)(A;;GA;;;SY)";
    const struct
    {
        std::wstring descriptor;
        bool isTrusted;
    } rows[] = {{own, true}, {L"O:SYD:(A;;FA;;;BA)", true}, {own + L"(A;;GRGX;;;WD)(A;;0x1200a9;;;BU)", true},
        {own + L"(D;;GA;;;BU)(A;IOOICI;GA;;;BU)", true}, {L"O:BUD:(A;;GA;;;BA)", false}, {L"O:BA", false},
        {own + L"(A;;0x2;;;BU)", false}, {own + L"(A;;0x100;;;BU)", false}, {own + L"(A;;SD;;;BU)", false},
        {own + L"(A;;WD;;;BU)", false}, {own + L"(A;;WO;;;BU)", false}, {own + L"(A;;GW;;;BU)", false},
        {own + L"(A;;GA;;;BU)", false}, {own + L"(A;;0x2000000;;;BU)", false}, {L"unreadable", false}};
    for (const auto& [descriptor, isTrusted] : rows) {
        descriptorText = descriptor;
        EXPECT_EQ(isTrusted, isLinkTrusted(nullptr)) << testing::PrintToString(descriptor);
    }
}

TEST(MachineDirectories, AreThoseOfTheSystemThePanelAndThisProgram)
{
    const RegistryOverride machine;
    setConfig(L"PRODUCT_ROOT_D", L"C:/panel");
    setConfig(L"PRODUCT_DATA_D", L"C:\\data");
    std::wstring all;
    for (const auto& [path, isWhole, exceptions] : neededDirectories()) {
        all += path + (isWhole ? L" whole" : L"");
        for (const wchar_t* exception : exceptions)
            all += std::wstring(L" but ") + exception;
        all += L"\n";
    }
    const std::wstring program = moduleFileName();
    wchar_t windows[MAX_PATH];
    GetWindowsDirectoryW(windows, MAX_PATH);
    EXPECT_EQ(
        windows +
            std::wstring(L" whole but \\Temp but \\SystemTemp but \\ServiceProfiles\\*\\AppData\\Local\\Temp but "
                         L"\\System32\\config\\systemprofile\\AppData\\Local\\Temp\n") +
            windows + L"\\System32\n" + program.substr(0, program.rfind(L'\\') + 1) +
            L"\nC:\\panel\nC:\\panel\\admin whole\nC:\\panel\\etc whole\nC:\\data\n",
        all);
}
