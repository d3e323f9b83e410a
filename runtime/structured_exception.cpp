#include "runtime/structured_exception.h"

#include "runtime/cwrpexception.h"

#include <malloc.h>

#include <utility>

namespace structured_exception {

namespace {

thread_local Translator threadTranslator = nullptr;
Observer processObserver = nullptr;

} // namespace

thread_local FaultInFlight faultInFlight;

Translator setTranslator(Translator translator) noexcept
{
    return std::exchange(threadTranslator, translator);
}

Translator currentTranslator() noexcept
{
    return threadTranslator;
}

Observer setObserver(Observer observer) noexcept
{
    return std::exchange(processObserver, observer);
}

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

void translate(unsigned code, EXCEPTION_POINTERS* pointers)
{
    if (processObserver)
        processObserver(pointers);
    throw cwrpexception(code, pointers->ExceptionRecord->ExceptionAddress);
}

} // namespace structured_exception
