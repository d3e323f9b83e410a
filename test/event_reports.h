#pragma once

#include "runtime/module.h"
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
    static BOOL WINAPI report(
        HANDLE, WORD type, WORD category, DWORD id, PSID user, WORD texts, DWORD bytes, LPCWSTR* text, LPVOID data)
    {
        EXPECT_TRUE(category == 0 && id == 1 && !user && texts == 2 && bytes == 0 && !data);
        EXPECT_EQ(moduleFileName(), text[1]);
        reports_.push_back(type);
        return TRUE;
    }
    static BOOL WINAPI close(HANDLE) { return TRUE; }

    inline static std::vector<WORD> reports_;
    const ReplacedImport open_{"RegisterEventSourceW", open}, report_{"ReportEventW", report},
        close_{"DeregisterEventSource", close};
};
