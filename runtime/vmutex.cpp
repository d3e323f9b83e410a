#include "runtime/vmutex.h"

#include "runtime/failure/vosexception.h"

VMutex::VMutex(const std::wstring& name) : handle_(CreateMutexW(nullptr, FALSE, name.c_str()))
{
    if (handle_)
        return;
    const DWORD code = GetLastError();
    // A mutex of another user may grant no more than the right to wait.
    if (code == ERROR_ACCESS_DENIED)
        handle_.reset(OpenMutexW(SYNCHRONIZE, FALSE, name.c_str()));
    if (!handle_)
        throwOsError(code, L"CreateMutex '" + name + L"'", {"VMutex::VMutex"});
}

void VMutex::lock()
{
    // No time-out: the panel's processes hold these mutexes only while they write one record.
    const DWORD result = WaitForSingleObject(handle_.get(), INFINITE);
    if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED)
        throwLastError({L"Lock object"}, {"VMutex::lock"});
}

void VMutex::unlock() noexcept
{
    ReleaseMutex(handle_.get());
}
