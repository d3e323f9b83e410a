#include "runtime/text/format.h"

#include "runtime/failure/argument_exception.h"

#include <cstdarg>
#include <cwchar>

std::wstring detail::formatVarArgs(const wchar_t* format, ...)
{
    // MinGW's own vswprintf takes %s as narrow text; the functions with an underscore are the C runtime's.
    // The failure texts name other functions. They are part of the interface with the panel's log readers.
    va_list args;
    va_start(args, format);
    const int length = _vscwprintf(format, args);
    va_end(args);
    if (length < 0)
        throw ArgumentException(L"_scwprintf() failed: invalid arguments", {"formatString"});

    std::wstring text(static_cast<std::size_t>(length), L'\0');
    va_start(args, format);
    const int written = _vsnwprintf(text.data(), text.size() + 1, format, args);
    va_end(args);
    if (written != length)
        throw ArgumentException(L"swprintf() failed: invalid arguments", {"formatString"});
    return text;
}
