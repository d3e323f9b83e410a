#pragma once

#include "runtime/failure/vexception.h"

#include <windows.h>

#include <initializer_list>
#include <string_view>

/// The system's text for an error code, without its final line break; "Unknown error" when it has none.
std::wstring systemMessage(DWORD code);

/// A failure of the operating system: "<system's text> (Error code N) at <context>".
class vosexception : public vexception
{
public:
    /// @param code     the Win32 error code
    /// @param context  names the call and its object, "OpenService 'x'"; left out of the message when empty
    vosexception(DWORD code, const std::wstring& context, RaiseSite site);

    DWORD code() const noexcept { return code_; }

private:
    DWORD code_;
};

/// The exception that stands for one Win32 error, so that a caller can catch just that one.
template <DWORD Code>
class vosexceptionOf : public vosexception
{
public:
    vosexceptionOf(const std::wstring& context, RaiseSite site) : vosexception(Code, context, site) {}
};

using VFileNotFoundException = vosexceptionOf<ERROR_FILE_NOT_FOUND>;
using VPathNotFoundException = vosexceptionOf<ERROR_PATH_NOT_FOUND>;
using VAccessDeniedException = vosexceptionOf<ERROR_ACCESS_DENIED>;
using VSharingViolationException = vosexceptionOf<ERROR_SHARING_VIOLATION>;
using VServiceDoesNotExistException = vosexceptionOf<ERROR_SERVICE_DOES_NOT_EXIST>;

/// Throws the exception of the family above that stands for the code, a plain vosexception for other codes.
[[noreturn]] void throwOsError(DWORD code, const std::wstring& context, RaiseSite site);

/// The same for the system's last error, which is read before anything else is done.
/// @param context  in parts, since putting it together may change the last error: none may be the result of a call
[[noreturn]] void throwLastError(std::initializer_list<std::wstring_view> context, RaiseSite site);
