#include "system/process/desktop_access.h"

#include "runtime/failure/vosexception.h"
#include "runtime/late/late_imports.h"
#include "system/process/own_identity.h"

#include <aclapi.h>

#include <string>

namespace {

struct WindowStationTraits
{
    using Type = HWINSTA;
    static Type empty() noexcept { return nullptr; }
    static void close(Type station) noexcept { late::CloseWindowStation.tryCall(station); }
};

struct DesktopTraits
{
    using Type = HDESK;
    static Type empty() noexcept { return nullptr; }
    static void close(Type desktop) noexcept { late::CloseDesktop.tryCall(desktop); }
};

bool isGranted(PACL list, const identity::Sid& user, DWORD rights)
{
    ACCESS_ALLOWED_ACE* entry = nullptr;
    for (DWORD index = 0; GetAce(list, index, reinterpret_cast<void**>(&entry)); ++index) {
        if (entry->Header.AceType == ACCESS_ALLOWED_ACE_TYPE && (entry->Header.AceFlags & INHERIT_ONLY_ACE) == 0 &&
            EqualSid(&entry->SidStart, user.get()) && (entry->Mask & rights) == rights)
            return true;
    }
    return false;
}

void grant(HANDLE object, const std::wstring& name, const identity::Sid& user, DWORD rights)
{
    const RaiseSite site("vexecutil::start");
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    DWORD status = GetSecurityInfo(
        object, SE_WINDOW_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list, nullptr, &descriptor);
    const UniqueLocalMemory descriptorMemory(descriptor);
    if (status != ERROR_SUCCESS)
        throwOsError(status, L"Unable to get a winstation (" + name + L") security", site);
    if (!list || isGranted(list, user, rights)) // a null list grants every right to everyone
        return;

    EXPLICIT_ACCESSW entry{};
    entry.grfAccessPermissions = rights;
    entry.grfAccessMode = GRANT_ACCESS;
    entry.grfInheritance = NO_INHERITANCE;
    entry.Trustee.TrusteeForm = TRUSTEE_IS_SID;
    entry.Trustee.TrusteeType = TRUSTEE_IS_USER;
    entry.Trustee.ptstrName = static_cast<wchar_t*>(user.get());
    PACL extended = nullptr;
    status = SetEntriesInAclW(1, &entry, list, &extended);
    const UniqueLocalMemory extendedMemory(extended);
    if (status == ERROR_SUCCESS) {
        status =
            SetSecurityInfo(object, SE_WINDOW_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, extended, nullptr);
    }
    if (status != ERROR_SUCCESS)
        throwOsError(status, L"Unable to set a winstation (" + name + L") security", site);
}

/// Replaces the process's window station for the life of a scope: OpenDesktopW opens desktops of that station.
class StationScope
{
public:
    explicit StationScope(HWINSTA station) : previous_(late::GetProcessWindowStation())
    {
        if (!late::SetProcessWindowStation(station))
            throwLastError({L"Unable to open desktop"}, {"vexecutil::start"});
    }
    StationScope(const StationScope&) = delete;
    StationScope& operator=(const StationScope&) = delete;
    ~StationScope() { late::SetProcessWindowStation.tryCall(previous_); }

private:
    HWINSTA previous_; // weak
};

} // namespace

void grantDesktopAccess(const identity::Sid& user)
{
    // An impersonated user may lack the right to change the access lists.
    const OwnIdentity processIdentity;
    const std::wstring stationName = L"winsta0", desktopName = L"default";
    const Unique<WindowStationTraits> station(
        late::OpenWindowStationW(stationName.c_str(), FALSE, READ_CONTROL | WRITE_DAC | WINSTA_ENUMDESKTOPS));
    if (!station) {
        throwLastError({L"Unable to get a winstation (", stationName, L") security"}, {"vexecutil::start"});
    }
    grant(station.get(), stationName, user, WINSTA_READATTRIBUTES | WINSTA_ACCESSGLOBALATOMS | WINSTA_ENUMDESKTOPS);

    const StationScope scope(station.get());
    const Unique<DesktopTraits> desktop(
        late::OpenDesktopW(desktopName.c_str(), 0, FALSE, READ_CONTROL | WRITE_DAC | DESKTOP_READOBJECTS));
    if (!desktop)
        throwLastError({L"Unable to open desktop"}, {"vexecutil::start"});
    grant(desktop.get(), desktopName, user, DESKTOP_READOBJECTS | DESKTOP_WRITEOBJECTS | DESKTOP_CREATEWINDOW);
}
