#include "runtime/vmutex.h"

#include "runtime/failure/vosexception.h"

VMutex::VMutex(const std::wstring& name) : handle_(CreateMutexW(nullptr, FALSE, name.c_str()))
{
    if (handle_)
        return;
    const DWORD code = GetLastError();
    if (code == ERROR_ACCESS_DENIED)
        handle_.reset(OpenMutexW(SYNCHRONIZE, FALSE, name.c_str()));
    if (!handle_)
        throwOsError(code, L"CreateMutex '" + name + L"'", {"VMutex::VMutex"});
}

void VMutex::lock()
{
    // No time-out: the panel's other processes hold these mutexes for the length of one record only.
    const DWORD result = WaitForSingleObject(handle_.get(), INFINITE);
    if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED)
        throwLastError({L"Lock object"}, {"VMutex::lock"});
}

void VMutex::unlock() noexcept
{
    ReleaseMutex(handle_.get());
}
