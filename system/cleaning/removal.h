#pragma once

#include <string>

// Reaches the file system: the removal of single entries. All removals of this process together wait at most two
// seconds for objects that other processes have open.

/// Removes a file or a link; the target of a link stays. An untrusted link in the path is not followed
/// (openCleanedDirectory). A missing entry counts as removed.
/// @param path  absolute; the name after the last backslash is taken literally
/// @throws vosexception "Unable to remove path (<path of the entry that could not be removed>)"
void removeFile(const std::wstring& path);

/// Removes a directory with its content, otherwise as removeFile. Links in it are removed, not followed.
/// @throws vosexception as removeFile, at the first entry that cannot be removed
void removeDirectory(const std::wstring& path);
