#pragma once

#include "runtime/text/letter_case.h"
#include "system/cleaning/directory_entry.h"

#include <map>
#include <string>

namespace KelvoRepair {

struct IgnoreCase
{
    bool operator()(const std::wstring& left, const std::wstring& right) const
    {
        return lessIgnoringCase(left, right);
    }
};

/// The directories to be emptied, in the order of their paths, each with what of it is removed.
using CleaningTable = std::map<std::wstring, ListingKind, IgnoreCase>;

/// The panel's temporary directories; that of its dumps unless it is one of them, or no directory that anybody may
/// want emptied (this is logged as a Warning); and the system's, if it lies on a volume that the panel uses.
/// @param root, dumps, windows  the directories of the panel, of its temporary dumps, of the system
/// @throws vexception when the root directory or the system's is no absolute path
CleaningTable cleaningTable(const std::wstring& root, const std::wstring& dumps, const std::wstring& windows);

} // namespace KelvoRepair
