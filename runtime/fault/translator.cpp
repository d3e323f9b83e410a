#include "runtime/fault/translator.h"

#include "runtime/fault/cwrpexception.h"

#include <utility>

namespace structured_exception {

namespace {

thread_local Translator threadTranslator = nullptr;
Observer processObserver = nullptr;

} // namespace

Translator setTranslator(Translator translator) noexcept
{
    return std::exchange(threadTranslator, translator);
}

Translator currentTranslator() noexcept
{
    return threadTranslator;
}

void setObserver(Observer observer) noexcept
{
    processObserver = observer;
}

void translate(unsigned code, EXCEPTION_POINTERS* pointers)
{
    if (processObserver)
        processObserver(pointers);
    throw cwrpexception(code, pointers->ExceptionRecord->ExceptionAddress);
}

} // namespace structured_exception
