// The program with a command that faults: mendkit as it is, but for a system helper whose only answer is the fault
// that the argument names.

#include "app/last_resort.h"
#include "app/vconsoleapp.h"
#include "logging/log_manager.h"
#include "repair/adapter.h"
#include "test/fake_system_helper.h"

#include <functional>

namespace {

volatile int zero = 0;
void* volatile const badAddress = reinterpret_cast<void*>(16);
const wchar_t* fault = L"";

#pragma GCC diagnostic ignored "-Winfinite-recursion"
int overflowStack(int depth)
{
    volatile char frame[3000];
    frame[0] = static_cast<char>(depth);
    if (zero < 0) // never, but the compiler would see that nothing is thrown and drop a catch around the call
        throw depth;
    return overflowStack(depth + 1) + frame[0];
}

void writeBadAddress()
{
    *static_cast<volatile int*>(badAddress) = 1;
}

/// A handler of another type cannot take the fault, and nothing may pass.
void faultInClosedFunction() noexcept
{
    try {
        writeBadAddress();
    } catch (const std::bad_alloc&) {
    }
}

/// Faults with every record.
struct FaultingHandler : ILogHandler
{
    void log(LogLevel, const std::wstring&) override { writeBadAddress(); }
};

void logWithFaults()
{
    FaultingHandler handler;
    LogManager::addHandler(&handler);
    LogManager::log(LogLevel::Error, L"%s", static_cast<const wchar_t*>(badAddress));
    LogManager::log(LogLevel::Error, L"logged");
    LogManager::removeHandler(&handler);
}

void doFault()
{
    const std::map<std::wstring, std::function<void()>> faults{{L"write", writeBadAddress},
        {L"read", [] { zero = *static_cast<volatile int*>(badAddress); }},
        {L"copy", [] { memcpy(badAddress, &fault, static_cast<std::size_t>(8 + zero)); }},
        {L"system", [] { GetSystemTime(static_cast<SYSTEMTIME*>(badAddress)); }},
        {L"division", [] { zero = 1 / zero; }}, {L"instruction", [] { __asm__ volatile("ud2"); }},
        {L"privileged", [] { __asm__ volatile("hlt"); }}, {L"stack", [] { zero = overflowStack(0); }},
        {L"heap", [] { RaiseException(0xc0000374, EXCEPTION_NONCONTINUABLE, 0, nullptr); }},
        {L"closed", faultInClosedFunction}, {L"logging", logWithFaults}, {L"twice", [] {
                                                                              try {
                                                                                  zero = overflowStack(0);
                                                                              } catch (...) {
                                                                              }
                                                                              zero = overflowStack(0);
                                                                          }}};
    if (const auto found = faults.find(fault); found != faults.end())
        found->second();
}

struct FaultingHelper : FakeSystemHelper
{
    bool isServiceExist(const std::wstring&) override { return doFault(), false; }
};

struct Application : vconsoleapp
{
    std::int32_t go(std::int32_t, const wchar_t* const*) override
    {
        KelvoRepair::Adapter(std::make_shared<FaultingHelper>()).getServiceStatus(L"x");
        return 0;
    }
};

/// Ends after the log has ended.
struct Last
{
    ~Last()
    {
        if (fault == std::wstring(L"end"))
            writeBadAddress();
    }
} last;

} // namespace

int wmain(int argc, wchar_t** argv)
{
    installLastResort();
    fault = argc > 1 ? argv[1] : L"";
    LogManager::resetSettings();
    Application application;
    if (fault == std::wstring(L"outside"))
        writeBadAddress();
    return application.run(argc, argv);
}
