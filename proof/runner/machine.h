#pragma once

#include <string>
#include <vector>

/// Why the kit must not run on this machine; empty when it may.
std::string objectionToRun();

/// Why a volume cannot stand in for the kit's own disk; empty when it can. @param drive  like "V:"
std::string objectionToDrive(const std::wstring& drive);

/// The system, its build and its volumes, a line each.
std::vector<std::string> describeMachine();
