#include "runtime/fault/stack_reserve.h"

#include <windows.h>

#include <malloc.h>

namespace structured_exception {

void reserveStack() noexcept
{
    // Half of it would do for the work itself; the rest is for loading the library that does it.
    ULONG size = 128 * 1024;
    SetThreadStackGuarantee(&size);
    restoreStack(); // Wine has no usable guard page before
}

void restoreStack() noexcept
{
    _resetstkoflw();
}

} // namespace structured_exception
