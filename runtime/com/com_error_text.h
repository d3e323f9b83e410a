#pragma once

#include <comdef.h>

#include <string>

/// The text of a COM error: "<message> (COM Error XXXXXXXX)", or with "COM Interop Error" when the error has an
/// IErrorInfo. Its description, if any, follows the number as ", Description: <text>".
std::wstring comErrorText(const _com_error& error);
