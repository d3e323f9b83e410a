#pragma once

#include <windows.h>

#include <string>

/// A structured exception (an access violation and the like), translated into a C++ exception.
class cwrpexception
{
public:
    /// Use only in the throw expression of a translator. Until the object is destroyed, the unwinding of this
    /// exception can pass frames in which the compiler saw no possible throw. Another exception would end the process
    /// there.
    /// @param faultAddress  the instruction that faulted
    cwrpexception(DWORD code, const void* faultAddress) noexcept;
    /// Required by the throw expression. A copy that is thrown cannot pass such frames.
    cwrpexception(const cwrpexception& other) noexcept : code_(other.code_) {}
    cwrpexception& operator=(const cwrpexception&) = delete;
    ~cwrpexception();

    /// "C structured exception: 0x" and the code in lower-case hexadecimal, without leading zeros.
    std::wstring text() const;

private:
    DWORD code_;
};
