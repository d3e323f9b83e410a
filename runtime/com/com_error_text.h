#pragma once

#include <comdef.h>

#include <string>

/// The text that a failure of COM takes with it: "<message> (COM Error XXXXXXXX, Description: <text>)";
/// "COM Interop Error" when the failing component left a description object.
std::wstring comErrorText(const _com_error& error);
