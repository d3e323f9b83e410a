#pragma once

#include <string>

/// Prints the rows of --free-disk-space. Uses the trees that scripts/bench prepares, because Wine creates files in
/// large directories too slowly. @param build  the build folder
void benchCleaning(const std::wstring& build);

/// Prints the memory of a listing, from a tree of scripts/bench likewise. Prints nothing in the pass that counts.
void benchListing(const std::wstring& build);
