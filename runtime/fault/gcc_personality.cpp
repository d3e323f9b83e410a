// Calls the thread's translator for a fault, as Microsoft's frame handler does. The linker (--wrap) replaces GCC's
// personality routine with the one below. The system calls it for every frame while it searches for a handler.
// A fault is translated at the first frame that can catch it. A fault inside a system function that handles it itself
// is not translated: the search ends at that function's frame and does not reach the program's frames.

#include "runtime/fault/cwrpexception.h"
#include "runtime/fault/fault_in_flight.h"
#include "runtime/fault/translator.h"

#include <windows.h>

#include <unwind.h>

#include <cstdint>

using structured_exception::faultInFlight;

extern "C" EXCEPTION_DISPOSITION __real___gxx_personality_seh0(
    EXCEPTION_RECORD*, void* frame, CONTEXT*, DISPATCHER_CONTEXT*);

namespace {

thread_local bool inTranslator = false;

struct TranslatorGuard
{
    TranslatorGuard() noexcept { inTranslator = true; }
    ~TranslatorGuard() { inTranslator = false; }
};

/// Reads the exception table of a function, in GCC's layout.
class TableReader
{
public:
    explicit TableReader(const void* table) noexcept : at_(static_cast<const std::uint8_t*>(table)) {}

    const std::uint8_t* position() const noexcept { return at_; }
    void seek(const std::uint8_t* position) noexcept { at_ = position; }
    std::uint8_t byte() noexcept { return *at_++; }

    std::uint64_t uleb() noexcept { return leb(nullptr); }

    std::int64_t sleb() noexcept
    {
        unsigned bits = 0;
        const std::uint64_t value = leb(&bits);
        const bool negative = bits < 64 && (at_[-1] & 0x40);
        return static_cast<std::int64_t>(negative ? value | (~std::uint64_t{0} << bits) : value);
    }

private:
    std::uint64_t leb(unsigned* bits) noexcept
    {
        std::uint64_t value = 0;
        unsigned shift = 0;
        std::uint8_t part;
        do {
            part = byte();
            if (shift < 64)
                value |= std::uint64_t{part & 0x7fu} << shift;
            shift += 7;
        } while (part & 0x80);
        if (bits)
            *bits = shift;
        return value;
    }

    const std::uint8_t* at_;
};

enum class CallSite
{
    gap,     // no entry, as the compiler saw no possible throw: GCC's routine would call std::terminate
    pass,    // no destructor and no catch
    cleanup, // destructors only
    handler, // a catch
    unknown  // another layout: left to GCC's routine
};

CallSite callSiteAt(const DISPATCHER_CONTEXT& dispatcher, std::uint64_t pc) noexcept
{
    constexpr std::uint8_t omitted = 0xff, uleb128 = 0x01;
    TableReader table(dispatcher.HandlerData);
    if (table.byte() != omitted)
        return CallSite::unknown;
    if (table.byte() != omitted)
        table.uleb(); // offset of the type table
    if (table.byte() != uleb128)
        return CallSite::unknown;
    const std::uint64_t length = table.uleb();
    const std::uint8_t* const actions = table.position() + length;

    const std::uint64_t offset = pc - (dispatcher.ImageBase + dispatcher.FunctionEntry->BeginAddress);
    while (table.position() < actions) {
        const std::uint64_t begin = table.uleb(), size = table.uleb(), landingPad = table.uleb(),
                            action = table.uleb();
        if (offset < begin)
            break; // the records are sorted by address
        if (offset >= begin + size)
            continue;
        if (landingPad == 0)
            return CallSite::pass;
        if (action == 0)
            return CallSite::cleanup;
        table.seek(actions + action - 1);
        for (;;) {
            if (table.sleb() > 0)
                return CallSite::handler;
            const std::uint8_t* const link = table.position();
            const std::int64_t distance = table.sleb();
            if (distance == 0)
                return CallSite::cleanup;
            table.seek(link + distance);
        }
    }
    return CallSite::gap;
}

EXCEPTION_DISPOSITION searchForFault(
    EXCEPTION_RECORD* record, CONTEXT* context, const DISPATCHER_CONTEXT& dispatcher, bool faultingFrame)
{
    const structured_exception::Translator translator = structured_exception::currentTranslator();
    constexpr DWORD unwinding =
        EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND | EXCEPTION_TARGET_UNWIND | EXCEPTION_COLLIDED_UNWIND;
    // Every code but GCC's own is translated. Who raises a notification (a debug print, a thread's name) handles it
    // further in, and that handler is asked first.
    if ((record->ExceptionFlags & unwinding) || !translator)
        return ExceptionContinueSearch;

    // ControlPc is the return address, which follows the call; in the faulting frame it is the instruction itself.
    if (callSiteAt(dispatcher, dispatcher.ControlPc - !faultingFrame) != CallSite::handler)
        return ExceptionContinueSearch;
    if (inTranslator) // a fault inside the observer: calling it again could recurse without end
        throw cwrpexception(record->ExceptionCode, record->ExceptionAddress);
    const TranslatorGuard guard;
    EXCEPTION_POINTERS pointers{record, context};
    translator(record->ExceptionCode, &pointers);
    return ExceptionContinueSearch;
}

} // namespace

extern "C" EXCEPTION_DISPOSITION __wrap___gxx_personality_seh0(
    EXCEPTION_RECORD* record, void* frame, CONTEXT* context, DISPATCHER_CONTEXT* dispatcher)
{
    // GCC's own codes: 0x20474343 is a throw; 0x21474343 and 0x22474343 unwind to a handler.
    constexpr DWORD gccThrow = 0x20474343, gccCodes = 0xfcffffff;
    if ((record->ExceptionCode & gccCodes) != gccThrow) {
        const bool faultingFrame =
            dispatcher->ControlPc == context->Rip &&
            dispatcher->ControlPc == reinterpret_cast<std::uintptr_t>(record->ExceptionAddress);
        return searchForFault(record, context, *dispatcher, faultingFrame);
    }

    const auto header = reinterpret_cast<const _Unwind_Exception*>(record->ExceptionInformation[0]);
    if (record->ExceptionCode == gccThrow && faultInFlight.object && faultInFlight.object == header + 1) {
        const bool faultingFrame = dispatcher->ControlPc == reinterpret_cast<std::uintptr_t>(faultInFlight.address);
        if (callSiteAt(*dispatcher, dispatcher->ControlPc - !faultingFrame) == CallSite::gap)
            return ExceptionContinueSearch;
        if (faultingFrame) {
            // GCC's routine looks up ControlPc - 1, which belongs to the instruction before the fault.
            ++dispatcher->ControlPc;
            const EXCEPTION_DISPOSITION disposition =
                __real___gxx_personality_seh0(record, frame, context, dispatcher);
            --dispatcher->ControlPc;
            return disposition;
        }
    }
    return __real___gxx_personality_seh0(record, frame, context, dispatcher);
}
