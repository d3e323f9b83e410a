#pragma once

#include <string>

// What others hold is waited for: at most two seconds in all, for every removal of this process together.

/// Removes a file, or a directory link as such, without ever following a link on the way (openCleanedDirectory,
/// TreeRemoval). One that does not exist counts as removed.
/// @param path  absolute; behind the last backslash the entry's name, taken literally
/// @throws vosexception "Unable to remove path (<path of the entry that could not be removed>)"
void removeFile(const std::wstring& path);

/// Removes a directory with everything in it, as removeFile does.
/// @throws vosexception as removeFile, at the first entry that cannot be removed
void removeDirectory(const std::wstring& path);
