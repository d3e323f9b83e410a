#pragma once

#include <windows.h>

/// @return ERROR_CURRENT_DIRECTORY when the machine, or the panel, could not go on without what is in the directory,
/// whatever its path looks like; another code when this cannot be told. (What its text alone tells, the table of the
/// directories to be cleaned has judged before: roots of volumes, the panel's root.)
DWORD refuseNeeded(HANDLE directory);
