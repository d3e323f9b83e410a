#pragma once

#include <windows.h>

/// Turns hardware faults and other structured exceptions into C++ exceptions, per thread and only while a
/// translator is set, so that destructors run and the catch ladder sees them. GCC has no such facility; the
/// mechanism is in gcc_personality.cpp.
namespace structured_exception {

/// Called at the fault with its code and full context; throws the C++ exception that takes its place.
/// When it returns, the search for a handler goes on.
using Translator = void (*)(unsigned code, EXCEPTION_POINTERS* pointers);

/// Sets the calling thread's translator, null for none. @return the previous one, for the caller to restore
Translator setTranslator(Translator translator) noexcept;

/// The calling thread's translator, null when there is none.
Translator currentTranslator() noexcept;

/// The program's translator: lets the observer see the fault, then throws cwrpexception.
[[noreturn]] void translate(unsigned code, EXCEPTION_POINTERS* pointers);

/// Sees every fault that `translate` turns into an exception, before it does; must not throw.
/// The place of whoever records faults; null for none.
using Observer = void (*)(EXCEPTION_POINTERS* pointers);
void setObserver(Observer observer) noexcept;

/// Sets the program's translator for the life of a scope, then the previous one again.
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
