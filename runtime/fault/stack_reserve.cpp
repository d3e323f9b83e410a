#include "runtime/fault/stack_reserve.h"

#include <windows.h>

#include <malloc.h>

namespace structured_exception {

void reserveStack() noexcept
{
    // 64 KiB suffice for translation and dump. The rest is for loading dbghelp.
    ULONG size = 128 * 1024;
    SetThreadStackGuarantee(&size);
    restoreStack(); // Wine: the guard page is not usable before this call
}

void restoreStack() noexcept
{
    _resetstkoflw();
}

} // namespace structured_exception
