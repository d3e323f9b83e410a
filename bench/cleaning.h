#pragma once

#include <string>

/// Prints the rows of --free-disk-space. Uses the trees that scripts/bench prepares, because Wine creates files in
/// large directories too slowly. @param build  the build folder
void benchCleaning(const std::wstring& build);
