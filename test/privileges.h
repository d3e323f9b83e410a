#pragma once

#include "runtime/handle/handles.h"

#include <windows.h>

/// Turns on, for the calling thread and this object's lifetime, the privileges of an administrator that are off until
/// a program asks for them: to make symbolic links, to give objects away and to reach what an access list denies.
/// Programs that the thread starts do not inherit them. A thread that acts as another account stays as it is.
class Privileges
{
public:
    Privileges()
    {
        UniqueHandle token;
        if (OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, token.receive()) ||
            !ImpersonateSelf(SecurityImpersonation))
            return;
        isOn_ = true;
        OpenThreadToken(GetCurrentThread(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, TRUE, token.receive());
        for (const wchar_t* name : {L"SeCreateSymbolicLinkPrivilege", L"SeRestorePrivilege", L"SeBackupPrivilege"}) {
            TOKEN_PRIVILEGES privilege{1, {{{}, SE_PRIVILEGE_ENABLED}}};
            LookupPrivilegeValueW(nullptr, name, &privilege.Privileges[0].Luid);
            AdjustTokenPrivileges(token.get(), FALSE, &privilege, 0, nullptr, nullptr);
        }
    }
    Privileges(const Privileges&) = delete;
    Privileges& operator=(const Privileges&) = delete;
    ~Privileges()
    {
        if (isOn_)
            RevertToSelf();
    }

private:
    bool isOn_ = false;
};
