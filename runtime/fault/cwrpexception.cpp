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
    // The overflow has been caught and the stack is unwound: re-arm the guard page for the next one.
    if (code_ == EXCEPTION_STACK_OVERFLOW)
        structured_exception::restoreStack();
}

std::wstring cwrpexception::text() const
{
    return formatString(L"C structured exception: 0x%lx", code_);
}
