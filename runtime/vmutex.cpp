#include "runtime/vmutex.h"

#include "runtime/failure/vosexception.h"
#include "runtime/identity.h"

VMutex::VMutex(const std::wstring& name) : name_(name), handle_(CreateMutexW(nullptr, FALSE, name.c_str()))
{
    if (handle_)
        return;
    const DWORD code = GetLastError();
    // A mutex of another user may grant no more than the right to wait.
    for (const DWORD rights : {SYNCHRONIZE | READ_CONTROL, SYNCHRONIZE}) {
        if (code == ERROR_ACCESS_DENIED && !handle_)
            handle_.reset(OpenMutexW(rights, FALSE, name.c_str()));
    }
    const bool isForeign = code == ERROR_ACCESS_DENIED || code == ERROR_INVALID_HANDLE; // 6: another kind of object
    if (!handle_ && !isForeign)
        throwOsError(code, L"CreateMutex '" + name + L"'", {"VMutex::VMutex"});
}

bool VMutex::lock(DWORD milliseconds)
{
    if (!handle_)
        return false;
    const DWORD result = WaitForSingleObject(handle_.get(), milliseconds);
    if (result == WAIT_FAILED)
        throwLastError({L"Lock object"}, {"VMutex::lock"});
    return result != WAIT_TIMEOUT;
}

void VMutex::unlock() noexcept
{
    ReleaseMutex(handle_.get());
}

bool VMutex::isTrusted() const
{
    alignas(SECURITY_DESCRIPTOR) BYTE descriptor[sizeof(SECURITY_DESCRIPTOR) + SECURITY_MAX_SID_SIZE];
    DWORD size = 0;
    BOOL isDefault = FALSE;
    PSID owner = nullptr;
    if (!handle_ ||
        !GetKernelObjectSecurity(handle_.get(), OWNER_SECURITY_INFORMATION, descriptor, sizeof descriptor, &size) ||
        !GetSecurityDescriptorOwner(descriptor, &owner, &isDefault))
        return false;
    if (!owner) // Wine, for an object without a descriptor; on Windows every object has an owner
        return true;
    const identity::Sid sid(owner);
    return identity::isSystemAuthority(sid) || sid == identity::currentUser();
}
