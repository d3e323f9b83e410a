#pragma once

#include <windows.h>

#include <string>

/// A structured exception (an access violation and the like), translated into a C++ exception.
class cwrpexception
{
public:
    /// For the throw expressions of translators only. While the object lives, the exception may pass frames in which
    /// the compiler saw no possible throw.
    /// @param faultAddress  the instruction that faulted
    cwrpexception(DWORD code, const void* faultAddress) noexcept;
    /// A throw expression needs it. The copy may not pass such frames.
    cwrpexception(const cwrpexception& other) noexcept : code_(other.code_) {}
    cwrpexception& operator=(const cwrpexception&) = delete;
    ~cwrpexception();

    /// "C structured exception: 0x" and the code in lower-case hexadecimal, without leading zeros.
    std::wstring text() const;

private:
    DWORD code_;
};
