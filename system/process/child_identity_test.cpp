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
    static ACL none{ACL_REVISION, 0, sizeof none, 0, 0};
    *list = &none;
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
    const ReplacedImport get("GetSecurityInfo", getDesktopSecurity), set("SetSecurityInfo", setDesktopSecurity),
        add("SetEntriesInAclW", addEntry), free("LocalFree", keep);
    for (const auto& [token, isAdministrator] : {std::pair{lesser.get(), false}, {own.get(), true}}) {
        UniqueHandle acting;
        ASSERT_TRUE(DuplicateToken(token, SecurityImpersonation, acting.receive()));
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
    EXPECT_EQ(L"get 7 4, 1: 23 1 0 0 1, set 7 4 0 1\nget 7 4, 1: 83 1 0 0 1, set 7 4 0 1\n", granted)
        << "rights on the window station and the desktop, for the child under another token only";
}
