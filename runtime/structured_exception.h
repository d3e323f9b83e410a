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
/// The place of whoever records faults. @return the previous one
using Observer = void (*)(EXCEPTION_POINTERS* pointers);
Observer setObserver(Observer observer) noexcept;

/// Keeps a piece of the calling thread's stack back for the time after an overflow, in which it is translated, dumped
/// and logged. Without it an overflow ends the process. To be called once near the start of a thread.
void reserveStack() noexcept;

/// Makes the stack of the calling thread overflow in this way once more; to be called when an overflow has been
/// caught.
void restoreStack() noexcept;

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

/// The translated fault that is on its way up the calling thread's stack: the exception object and the
/// instruction that faulted. For cwrpexception and the unwinding alone.
struct FaultInFlight
{
    const void* object = nullptr;
    const void* address = nullptr;
};
extern thread_local FaultInFlight faultInFlight;

} // namespace structured_exception
