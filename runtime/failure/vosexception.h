#pragma once

#include "runtime/failure/vexception.h"

#include <windows.h>

#include <initializer_list>
#include <string_view>

/// The system's text for an error code without the final line break; "Unknown error" when the system has none.
std::wstring systemMessage(DWORD code);

/// A failure of the operating system: "<system's text> (Error code N) at <context>".
class vosexception : public vexception
{
public:
    /// @param code     the Win32 error code
    /// @param context  names the call and its object, "OpenService 'x'"; when empty the message ends before " at"
    vosexception(DWORD code, const std::wstring& context, RaiseSite site);

    DWORD code() const noexcept { return code_; }

private:
    DWORD code_;
};

/// The exception of one Win32 error, for callers that catch that error only.
template <DWORD Code>
class vosexceptionOf : public vosexception
{
public:
    vosexceptionOf(const std::wstring& context, RaiseSite site) : vosexception(Code, context, site) {}
};

// Class names of the panel's runtime library, thrown by throwOsError(). No handler of this program names one.
using VFileNotFoundException = vosexceptionOf<ERROR_FILE_NOT_FOUND>;
using VPathNotFoundException = vosexceptionOf<ERROR_PATH_NOT_FOUND>;
using VAccessDeniedException = vosexceptionOf<ERROR_ACCESS_DENIED>;
using VSharingViolationException = vosexceptionOf<ERROR_SHARING_VIOLATION>;
using VServiceDoesNotExistException = vosexceptionOf<ERROR_SERVICE_DOES_NOT_EXIST>;

/// Throws the exception above for the code; vosexception for other codes.
[[noreturn]] void throwOsError(DWORD code, const std::wstring& context, RaiseSite site);

/// Throws as throwOsError() for GetLastError().
/// @param context  parts of the context text. No part may be the result of a call, which could change the last error.
[[noreturn]] void throwLastError(std::initializer_list<std::wstring_view> context, RaiseSite site);
