#include "runtime/cwrpexception.h"

#include "runtime/format.h"
#include "runtime/structured_exception.h"

cwrpexception::cwrpexception(DWORD code, const void* faultAddress) noexcept : code_(code)
{
    structured_exception::faultInFlight = {this, faultAddress};
}

cwrpexception::~cwrpexception()
{
    if (structured_exception::faultInFlight.object == this)
        structured_exception::faultInFlight = {};
}

std::wstring cwrpexception::text() const
{
    return formatString(L"C structured exception: 0x%lx", code_);
}
