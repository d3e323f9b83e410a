#pragma once

#include "test/replaced_import.h"

/// Stands in for the event log during its lifetime: Wine keeps no records.
class EventReports
{
public:
    EventReports() { reports_.clear(); }

    /// The types of the records that were reported since the last call.
    static std::vector<WORD> take() { return std::exchange(reports_, {}); }

private:
    static HANDLE WINAPI open(LPCWSTR, LPCWSTR) { return &reports_; }
    static BOOL WINAPI report(HANDLE, WORD type, WORD, DWORD, PSID, WORD, DWORD, LPCWSTR*, LPVOID)
    {
        reports_.push_back(type);
        return TRUE;
    }
    static BOOL WINAPI close(HANDLE) { return TRUE; }

    inline static std::vector<WORD> reports_;
    const ReplacedImport open_{"RegisterEventSourceW", open}, report_{"ReportEventW", report},
        close_{"DeregisterEventSource", close};
};
