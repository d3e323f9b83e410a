#pragma once

#include <windows.h>

#include <string>

/// A structured exception (an access violation and the like) on its way as a C++ exception.
class cwrpexception
{
public:
    /// Remembers a code only.
    explicit cwrpexception(DWORD code) noexcept : code_(code) {}
    /// For translators, built in the throw expression itself: until the object dies, the exception may also
    /// cross frames in which the compiler saw nothing that throws (gcc_personality.cpp).
    cwrpexception(DWORD code, const void* faultAddress) noexcept;
    cwrpexception(const cwrpexception& other) noexcept : code_(other.code_) {}
    cwrpexception& operator=(const cwrpexception&) = delete;
    ~cwrpexception();

    DWORD code() const noexcept { return code_; }

    /// "C structured exception: 0x" and the code in lower-case hexadecimal.
    std::wstring text() const;

private:
    DWORD code_;
};
