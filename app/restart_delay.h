#pragma once

#include <cstdint>
#include <string>

/// The seconds of the parameter --timeout, as the C runtime's _wtoi reads them: 0 for a text that is not a number,
/// INT32_MAX for a number beyond it, UINT32_MAX for -1. Logs a Warning for the administrators when these are not
/// wholly what the text says.
std::uint32_t restartDelay(const std::wstring& text);
