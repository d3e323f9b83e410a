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

/// The directories to be emptied, ordered by path. The value says which entries of a directory are removed.
using CleaningTable = std::map<std::wstring, ListingKind, IgnoreCase>;

/// The table of
/// - the panel's temporary directories;
/// - the directory of temporary dumps, unless its path shows that emptying it does harm (logged as a Warning). A
///   directory that is already in the table keeps its entry;
/// - Temp in the Windows directory, if the panel or its dumps use that volume.
/// @param root     the installation directory
/// @param dumps    the directory of temporary dumps
/// @param windows  the Windows directory
/// @throws vexception when the installation directory or the Windows directory is not an absolute path
CleaningTable cleaningTable(const std::wstring& root, const std::wstring& dumps, const std::wstring& windows);

} // namespace KelvoRepair
