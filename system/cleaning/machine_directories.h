#pragma once

#include "system/cleaning/needed_directories.h"

#include <vector>

/// The directories that this machine, the panel and this program need. The panel's directories are those of the
/// registry and the installation directory of the service's last answer.
/// @throws vosexception "GetSystemWindowsDirectory"
std::vector<NeededDirectories::Needed> neededDirectories();
