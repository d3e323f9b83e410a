#pragma once

#include <string>

/// The kit of proof/ runs on other people's machines. While it runs (MENDKIT_PROOF is set), no directory of the
/// system's volume may be emptied. Its option --empty-windows-temp makes one exception: directories in Windows\Temp.
/// @throws vexception when a directory lies, or may lie, on the system's volume
void checkVolumes(const std::wstring& root, const std::wstring& dumps);
