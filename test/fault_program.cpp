// The program with a system helper that raises the fault named by the command word.

#include "app/last_resort.h"
#include "app/vconsoleapp.h"
#include "logging/log_manager.h"
#include "repair/adapter.h"
#include "test/fake_system_helper.h"
#include "test/imports.h"

#include <dbghelp.h>

#include <cstdlib>
#include <functional>

namespace {

volatile int zero = 0;
int* volatile const badAddress = reinterpret_cast<int*>(16);
std::wstring fault;

#pragma GCC diagnostic ignored "-Winfinite-recursion"
int overflowStack(int depth)
{
    volatile char frame[3000];
    frame[0] = static_cast<char>(depth);
    if (zero < 0) // never true; without a throw the compiler removes a catch around the call
        throw depth;
    return overflowStack(depth + 1) + frame[0];
}

[[noreturn]] void fail()
{
    throw vexception(L"failed", {"fail", 7});
}

__attribute__((noinline)) void smashStack(int size)
{
    char buffer[8];
    memset(buffer, 1, static_cast<std::size_t>(size));
    __asm__ volatile("" : : "r"(buffer) : "memory"); // the compiler must not remove the write
}

struct FaultingHandler : ILogHandler
{
    void log(LogLevel, const std::wstring&) override { *badAddress = 1; }
};

decltype(&GetProcAddress) findFunction = nullptr;
decltype(&GetTickCount64) trueTime = nullptr;

INT_PTR WINAPI hang()
{
    Sleep(INFINITE);
    return 0;
}
FARPROC WINAPI findHangingDump(HMODULE module, const char* name)
{
    return std::string_view(name) == "MiniDumpWriteDump" ? hang : findFunction(module, name);
}
decltype(&MiniDumpWriteDump) systemDump = nullptr;
DWORD awaitedCallback = 0;

/// The system's dump, which hangs when it reports what `awaitedCallback` names: with the threads of the process as
/// dbghelp leaves them then.
BOOL WINAPI dumpAndHang(HANDLE process, DWORD id, HANDLE file, MINIDUMP_TYPE type,
    MINIDUMP_EXCEPTION_INFORMATION* exception, MINIDUMP_USER_STREAM_INFORMATION* streams, void*)
{
    const auto hangAt = [](void*, MINIDUMP_CALLBACK_INPUT* const input, MINIDUMP_CALLBACK_OUTPUT*) -> BOOL {
        if (input->CallbackType == awaitedCallback)
            Sleep(INFINITE);
        return TRUE;
    };
    MINIDUMP_CALLBACK_INFORMATION callback{hangAt, nullptr};
    return systemDump(process, id, file, type, exception, streams, &callback);
}
FARPROC WINAPI findHaltingDump(HMODULE module, const char* name)
{
    const FARPROC found = findFunction(module, name);
    if (std::string_view(name) != "MiniDumpWriteDump")
        return found;
    systemDump = reinterpret_cast<decltype(systemDump)>(reinterpret_cast<void*>(found));
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(dumpAndHang));
}

ULONGLONG WINAPI hastenTime()
{
    return trueTime() * 1000;
}

/// Faults with another dump function, in time that passes 1000 times as fast.
[[noreturn]] void faultWithDump(decltype(&GetProcAddress) finder)
{
    static decltype(&GetProcAddress) replacement;
    replacement = finder;
    findFunction = GetProcAddress;
    trueTime = GetTickCount64;
    visitImports([](std::string_view name, void** entry) {
        if (name == "GetProcAddress")
            setImport(entry, reinterpret_cast<void*>(replacement));
        else if (name == "GetTickCount64")
            setImport(entry, reinterpret_cast<void*>(hastenTime));
    });
    *badAddress = 1;
    std::abort();
}

struct UnwoundFrame
{
    ~UnwoundFrame() { isUnwound = true; }
    inline static bool isUnwound = false;
};

struct LateHandler : ILogHandler
{
    void log(LogLevel level, const std::wstring&) override
    {
        if (level == LogLevel::Error && !UnwoundFrame::isUnwound) // called inside the fault
            TerminateProcess(GetCurrentProcess(), 9);
    }
} lateHandler;

const std::map<std::wstring, std::function<void()>> faults{{L"none", [] {}}, {L"write", [] { *badAddress = 1; }},
    {L"null", [] { reinterpret_cast<void (*)()>(static_cast<ULONG_PTR>(zero))(); }},
    {L"handled", // handled by the system
        [] {
            zero = lstrlenW(reinterpret_cast<wchar_t*>(badAddress));
            OutputDebugStringW(L"x");
        }},
    {L"callback", // called by the C runtime, whose frames have no handlers
        [] {
            int numbers[] = {2, 1};
            qsort(numbers, 2, sizeof(int), [](const void*, const void*) { return *badAddress; });
        }},
    {L"system", [] { GetSystemTime(reinterpret_cast<SYSTEMTIME*>(badAddress)); }},
    {L"division", [] { zero = 1 / zero; }}, {L"instruction", [] { __asm__ volatile("ud2"); }},
    {L"dll", [] { zero = LoadLibraryW(L"mendkit_beside.dll") ? *badAddress : 0; }}, // a fault if it is found
    {L"stack", [] { zero = overflowStack(0); }},
    {L"heap", [] { RaiseException(0xc0000374, EXCEPTION_NONCONTINUABLE, 0, nullptr); }},
    {L"later",
        [] {
            LogManager::addHandler(&lateHandler);
            const UnwoundFrame frame;
            *badAddress = 1;
        }},
    {L"smash", [] { smashStack(zero + 64); }}, {L"software", [] { RaiseException(0xe0000001, 0, 0, nullptr); }},
    {L"warning", [] { RaiseException(0x80000001, 0, 0, nullptr); }},
    {L"foreign",
        [] { RaiseException(0xe06d7363, EXCEPTION_NONCONTINUABLE, 0, nullptr); }}, // another compiler's throw
    {L"twice",
        [] {
            try {
                zero = overflowStack(0);
            } catch (...) {
            }
            zero = overflowStack(0);
        }},
    {L"closed", // a noexcept function with a catch of another type
        []() noexcept {
            try {
                *badAddress = 1;
            } catch (const std::bad_alloc&) {
            }
        }},
    {L"hanging dump", [] { faultWithDump(findHangingDump); }},
    {L"dump hanging at modules",
        [] {
            awaitedCallback = ModuleCallback;
            faultWithDump(findHaltingDump);
        }},
    {L"dump hanging at threads",
        [] {
            awaitedCallback = ThreadCallback;
            faultWithDump(findHaltingDump);
        }},
    {L"freed twice",
        [] {
            void* const block = HeapAlloc(GetProcessHeap(), 0, 100);
            for (int count = 0; count < 2; ++count)
                HeapFree(GetProcessHeap(), 0, block);
        }},
    {L"fail fast",
        [] {
            __asm__ volatile("int $0x29" : : "c"(7)); // __fastfail(FAST_FAIL_FATAL_APP_EXIT)
        }},
    {L"noexcept", []() noexcept { fail(); }},
    {L"thread", // not started by the program's own frames
        [] {
            const auto start = [](void*) -> DWORD { fail(); };
            WaitForSingleObject(CreateThread(nullptr, 0, start, nullptr, 0, nullptr), INFINITE);
        }},
    {L"logging", [] {
         FaultingHandler handler;
         LogManager::addHandler(&handler);
         LogManager::log(LogLevel::Error, L"logged");
         LogManager::removeHandler(&handler);
     }}};

struct FaultingHelper : FakeSystemHelper
{
    bool isServiceExist(const std::wstring&) override { return faults.at(fault)(), false; }
};

struct Application : vconsoleapp
{
    std::int32_t go(std::int32_t, const wchar_t* const*) override
    {
        KelvoRepair::Adapter(std::make_shared<FaultingHelper>()).getServiceStatus(L"x");
        return 0;
    }
};

// The pointer in which the log finds its settings.
extern "C" void* m_ExecuteContext_4D93FADE_7B9E_4286_AE07_54AF471F7E22;

struct LaterThanTheLog
{
    ~LaterThanTheLog() { zero = fault == L"end" ? *badAddress : 0; }
} laterThanTheLog;

} // namespace

int wmain(int argc, wchar_t** argv)
{
    installLastResort();
    // Nobody may wait for a dialog. "SetErrorMode function": that of Windows Error Reporting needs WerSetFlags.
    SetErrorMode(SEM_NOGPFAULTERRORBOX | SEM_FAILCRITICALERRORS);
    constexpr DWORD withoutDialog = 32; // WER_FAULT_REPORTING_NO_UI
    if (const auto setFlags = reinterpret_cast<HRESULT(WINAPI*)(DWORD)>(
            reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "WerSetFlags"))))
        setFlags(withoutDialog);
    fault = argv[1];
    if (fault == L"first") {
        m_ExecuteContext_4D93FADE_7B9E_4286_AE07_54AF471F7E22 = badAddress;
        LogManager::log(LogLevel::Info, L"the log is created");
    }
    if (fault == L"outside")
        *badAddress = 1;
    Application application;
    return application.run(fault == L"end" ? 1 : argc, argv);
}
