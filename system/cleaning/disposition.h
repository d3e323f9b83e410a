#pragma once

#include <windows.h>

/// Reaches the file system: removes open files, links and empty directories (opened with DELETE), also read-only
/// ones, of one volume. With POSIX semantics a name is free at once, even while other handles are open. On file
/// systems without them it is free when the last handle closes. Other hard links of a file keep its attributes.
class Disposition
{
public:
    /// @return a Win32 code
    DWORD remove(HANDLE object);

private:
    /// The forms of the request, the best one first. Support differs between file systems, so the version of Windows
    /// does not decide.
    enum class Form
    {
        posixIgnoringReadOnly,
        posix,
        atClose
    };

    DWORD dispose(HANDLE object) noexcept;
    DWORD removeReadOnly(HANDLE object) noexcept;

    Form form_ = Form::posixIgnoringReadOnly; // a form that the volume did not know is not tried again
};
