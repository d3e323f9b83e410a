#pragma once

#include <string>

/// Full path of the running program, whole however long it is. @throws vosexception "GetModuleFileName"
std::wstring moduleFileName();

/// The running program's name without directory and extension. @throws vosexception as above
std::wstring moduleTitle();
