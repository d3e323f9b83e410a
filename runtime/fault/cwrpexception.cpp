#include "runtime/fault/cwrpexception.h"

#include "runtime/fault/fault_in_flight.h"
#include "runtime/fault/stack_reserve.h"
#include "runtime/text/format.h"

cwrpexception::cwrpexception(DWORD code, const void* faultAddress) noexcept : code_(code)
{
    structured_exception::faultInFlight = {this, faultAddress};
}

cwrpexception::~cwrpexception()
{
    if (structured_exception::faultInFlight.object != this)
        return;
    structured_exception::faultInFlight = {};
    if (code_ == EXCEPTION_STACK_OVERFLOW) // caught: the stack is free down to the frame of the catch
        structured_exception::restoreStack();
}

std::wstring cwrpexception::text() const
{
    return formatString(L"C structured exception: 0x%lx", code_);
}
