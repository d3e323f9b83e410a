#pragma once

#include "runtime/handle/handles.h"
#include "runtime/identity.h"

#include <aclapi.h>

/// The access list of the window station "winsta0". It is set again at the end.
class StationList
{
public:
    StationList() : station_(OpenWindowStationW(L"winsta0", FALSE, READ_CONTROL | WRITE_DAC | WINSTA_ENUMDESKTOPS))
    {
        if (!station_)
            code_ = GetLastError();
        read(&descriptor_, &list_);
    }
    StationList(const StationList&) = delete;
    StationList& operator=(const StationList&) = delete;
    ~StationList()
    {
        if (station_ && list_)
            SetSecurityInfo(station_, SE_WINDOW_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, list_, nullptr);
        LocalFree(descriptor_);
        CloseWindowStation(station_);
    }
    /// Why the list cannot be changed; 0 when it can.
    DWORD code() const { return code_; }

    bool names(const identity::Sid& user) const
    {
        PSECURITY_DESCRIPTOR descriptor = nullptr;
        PACL list = nullptr;
        read(&descriptor, &list);
        const UniqueLocalMemory memory(descriptor);
        ACCESS_ALLOWED_ACE* entry = nullptr;
        for (DWORD index = 0; list && GetAce(list, index, reinterpret_cast<void**>(&entry)); ++index) {
            if (entry->Header.AceType == ACCESS_ALLOWED_ACE_TYPE && EqualSid(&entry->SidStart, user.get()))
                return true;
        }
        return false;
    }

private:
    void read(PSECURITY_DESCRIPTOR* descriptor, PACL* list) const
    {
        GetSecurityInfo(
            station_, SE_WINDOW_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, list, nullptr, descriptor);
    }

    HWINSTA station_;
    PSECURITY_DESCRIPTOR descriptor_ = nullptr;
    PACL list_ = nullptr;
    DWORD code_ = ERROR_SUCCESS;
};
