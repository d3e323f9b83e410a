#pragma once

#include <string>

/// Full path of the running program, of any length. @throws vosexception "GetModuleFileName"
std::wstring moduleFileName();

/// File name of the running program without extension. @throws vosexception "GetModuleFileName"
std::wstring moduleTitle();
