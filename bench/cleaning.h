#pragma once

#include <string>

/// The rows of --free-disk-space, on the trees that scripts/bench has prepared: Wine itself makes files in large
/// directories too slowly. @param build  the folder of the build
void benchCleaning(const std::wstring& build);
