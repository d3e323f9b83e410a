#include "system/process/child_identity.h"

#include "runtime/identity.h"
#include "runtime/text/format.h"
#include "test/child_process.h"
#include "test/failure.h"
#include "test/replaced_import.h"

#include <aclapi.h>
#include <sddl.h>

namespace {

// Desktops with access lists, which Wine does not have. Only the arguments count.
std::wstring granted;

DWORD WINAPI getDesktopSecurity(
    HANDLE, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID*, PSID*, PACL* list, PACL*, PSECURITY_DESCRIPTOR*)
{
    alignas(DWORD) static BYTE memory[128];
    *list = reinterpret_cast<ACL*>(memory);
    InitializeAcl(*list, sizeof memory, ACL_REVISION);
    AddAccessAllowedAce(*list, ACL_REVISION, 1, identity::currentUser().get()); // not all the rights
    granted += formatString(L"get %d %lx, ", type, what);
    return ERROR_SUCCESS;
}

DWORD WINAPI addEntry(ULONG count, EXPLICIT_ACCESSW* entry, PACL, PACL* list)
{
    static ACL extended{ACL_REVISION, 0, sizeof extended, 0, 0};
    *list = &extended;
    const TRUSTEEW& trustee = entry->Trustee;
    const bool isUser = identity::Sid(trustee.ptstrName) == identity::currentUser();
    granted += formatString(L"%lu: %lx %d %lx %d %d, ", count, entry->grfAccessPermissions, entry->grfAccessMode,
        entry->grfInheritance, trustee.TrusteeForm, isUser);
    return ERROR_SUCCESS;
}

DWORD WINAPI setDesktopSecurity(
    HANDLE, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID owner, PSID group, PACL list, PACL)
{
    granted += formatString(L"set %d %lx %d %d\n", type, what, owner || group, list != nullptr);
    return ERROR_SUCCESS;
}

BOOL WINAPI openToken(HANDLE thread, DWORD rights, BOOL asSelf, HANDLE* token)
{
    const auto system = reinterpret_cast<decltype(&OpenThreadToken)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"advapi32.dll"), "OpenThreadToken")));
    if (rights != TOKEN_QUERY) // asked by the fakes above
        granted += formatString(L"token %lx %d, ", rights, asSelf);
    return system(thread, rights, asSelf, token);
}

BOOL WINAPI duplicateToken(HANDLE token, DWORD rights, SECURITY_ATTRIBUTES* security,
    SECURITY_IMPERSONATION_LEVEL level, TOKEN_TYPE type, HANDLE* copy)
{
    const auto system = reinterpret_cast<decltype(&DuplicateTokenEx)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"advapi32.dll"), "DuplicateTokenEx")));
    granted += formatString(L"copy %lx %d %d %d, ", rights, security != nullptr, level, type);
    return system(token, rights, security, level, type, copy);
}

HWINSTA WINAPI openStation(const wchar_t* name, BOOL inherit, DWORD rights)
{
    granted += formatString(L"%s %d %lx, ", name, inherit, rights);
    return OpenWindowStationW(name, inherit, rights);
}

HDESK WINAPI openDesktop(const wchar_t* name, DWORD flags, BOOL inherit, DWORD rights)
{
    granted += formatString(L"%s %lu %d %lx, ", name, flags, inherit, rights);
    return OpenDesktopW(name, flags, inherit, rights);
}

// Found before the import is replaced.
const auto systemFind = reinterpret_cast<decltype(&GetProcAddress)>(
    reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetProcAddress")));

FARPROC WINAPI find(HMODULE module, const char* name)
{
    if (name == std::string("OpenWindowStationW"))
        return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(openStation));
    if (name == std::string("OpenDesktopW"))
        return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(openDesktop));
    return systemFind(module, name);
}

HLOCAL WINAPI keep(HLOCAL)
{
    return nullptr;
}

} // namespace

TEST(Child, RunsAsTheImpersonatedUserWhenOneOfTwoIsAdministrator)
{
    const UniqueHandle own = identity::tokenOf(GetCurrentProcess(), TOKEN_ALL_ACCESS);
    const identity::Sid administrators = identity::Sid::wellKnown(WinBuiltinAdministratorsSid);
    SID_AND_ATTRIBUTES disabled{administrators.get(), 0};
    UniqueHandle lesser;
    ASSERT_TRUE(CreateRestrictedToken(own.get(), 0, 1, &disabled, 0, nullptr, 0, nullptr, lesser.receive()));
    // A lesser user may not open the process's token.
    SECURITY_ATTRIBUTES attributes{};
    ConvertStringSecurityDescriptorToSecurityDescriptorW(
        L"D:(A;;GA;;;BA)", SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr);
    const UniqueLocalMemory rights(attributes.lpSecurityDescriptor);
    ASSERT_TRUE(SetKernelObjectSecurity(own.get(), DACL_SECURITY_INFORMATION, rights.get()));
    struct Case
    {
        UniqueHandle acting;
        bool isAdministrator;
    } cases[2];
    for (Case& row : cases) {
        row.isAdministrator = &row == &cases[1];
        ASSERT_TRUE(DuplicateTokenEx(row.isAdministrator ? own.get() : lesser.get(), TOKEN_ALL_ACCESS, nullptr,
            SecurityImpersonation, TokenImpersonation, row.acting.receive()));
        SECURITY_ATTRIBUTES everyone{}; // as the system lets a user open the token of his own logon
        ConvertStringSecurityDescriptorToSecurityDescriptorW(
            L"D:(A;;GA;;;WD)", SDDL_REVISION_1, &everyone.lpSecurityDescriptor, nullptr);
        const UniqueLocalMemory openRights(everyone.lpSecurityDescriptor);
        SetKernelObjectSecurity(row.acting.get(), DACL_SECURITY_INFORMATION, openRights.get());
    }
    const ReplacedImport get("GetSecurityInfo", getDesktopSecurity), set("SetSecurityInfo", setDesktopSecurity),
        add("SetEntriesInAclW", addEntry), free("LocalFree", keep), open("OpenThreadToken", openToken),
        duplicate("DuplicateTokenEx", duplicateToken), address("GetProcAddress", find);
    for (const auto& [acting, isAdministrator] : cases) {
        vexecutil child;
        child.path = builtProgram(L"devpanel\\devutility.exe");
        child.suspended = true;
        SetThreadToken(nullptr, acting.get());
        const std::wstring failure = failureOf([&] { child.start(); });
        UniqueHandle after;
        EXPECT_TRUE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, after.receive())) << "still impersonating";
        RevertToSelf();
        ASSERT_EQ(L"nothing thrown", failure);
        EXPECT_EQ(
            isAdministrator, identity::isAdministrator(identity::tokenOf(child.process.get(), TOKEN_QUERY).get()));
        terminate(child);
    }
    EXPECT_EQ(L"token 2000a 0, copy 2000000 0 2 1, token 4 1, winsta0 0 60001, get 7 4, 1: 23 1 0 0 1, set 7 4 0 "
              L"1\ndefault 0 0 60001, get 7 4, 1: 83 1 "
              L"0 0 1, set 7 4 0 1\ntoken 2000a 0, ",
        granted)
        << "rights on the window station and the desktop, for the child under another token only";
}
