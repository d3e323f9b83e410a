#pragma once

#include <string>
#include <vector>

// What a run of the kit leaves on the machine until it is removed.

/// Notes in the registry what an interrupted run would leave.
/// @param disk    the file of the virtual disk; empty: none
/// @param volume  the drive that is used in its place, like "V:"; it was empty. Empty: none
void markRun(const std::wstring& disk, const std::wstring& account, const std::wstring& volume);

/// Whether an earlier run was interrupted.
bool hasMark();

/// Removes what this run or an interrupted one made: the keys, the services, the account, the disk.
/// @return what could not be removed, a line each; the note in the registry then stays, for another attempt
std::vector<std::string> removeTraces();

/// What Windows itself keeps of a run, a line each.
std::vector<std::string> remainingTraces();
