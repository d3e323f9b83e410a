#pragma once

#include <windows.h>

/// Translation of hardware faults and other structured exceptions into C++ exceptions, so that destructors run and
/// the catch ladder handles them. It works per thread, while a translator is set. GCC has no such facility;
/// gcc_personality.cpp adds it.
namespace structured_exception {

/// Called with the code and the context of a fault. Throws the C++ exception that replaces the fault.
/// If it returns, the search for a handler continues.
using Translator = void (*)(unsigned code, EXCEPTION_POINTERS* pointers);

/// Sets the calling thread's translator; null for none. @return the previous translator
Translator setTranslator(Translator translator) noexcept;

/// The calling thread's translator; null when none is set.
Translator currentTranslator() noexcept;

/// The program's translator: calls the observer, then throws cwrpexception.
[[noreturn]] void translate(unsigned code, EXCEPTION_POINTERS* pointers);

/// Called by `translate` for every fault, before it throws. Must not throw.
using Observer = void (*)(EXCEPTION_POINTERS* pointers);

/// Sets the process's observer; null for none.
void setObserver(Observer observer) noexcept;

/// Sets the program's translator for a scope and restores the previous one at its end.
class TranslatorScope
{
public:
    TranslatorScope() noexcept : previous_(setTranslator(translate)) {}
    TranslatorScope(const TranslatorScope&) = delete;
    TranslatorScope& operator=(const TranslatorScope&) = delete;
    ~TranslatorScope() { setTranslator(previous_); }

private:
    Translator previous_;
};

} // namespace structured_exception
