// The program with one failing call into Windows. The addresses of imported functions are replaced by the address of
// a gate. The gate counts the calls and lets one of them fail.

#include "test/failing_calls.h"
#include "test/imports.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

namespace {

enum class Way
{
    fail,       // returns `value` and sets the last error to `code`
    shorten,    // halves the number of bytes, the third argument
    failForEver // as `fail`, for this and every later call of the function
};

struct Failure
{
    std::string_view functions; // names separated by blanks
    std::uint64_t value;
    DWORD code;
    Way way = Way::fail;
};

constexpr std::uint64_t none = 0, invalid = ~0ull;

// A function in several rows can fail in each of these ways. ReadFile is never failed with ERROR_BROKEN_PIPE: this
// code means the end of the data, and a pipe with data left does not report it.
constexpr Failure failures[] = {
    {"malloc", none, ERROR_NOT_ENOUGH_MEMORY, Way::failForEver},
    {"malloc calloc realloc HeapAlloc LocalAlloc SysAllocStringLen TlsSetValue _beginthreadex "
     "CreateWellKnownSid CopySid ConvertSidToStringSidW ConvertStringSidToSidW "
     "ConvertStringSecurityDescriptorToSecurityDescriptorW FormatMessageW GetModuleFileNameW LCMapStringEx "
     "WideCharToMultiByte InitializeProcThreadAttributeList AddVectoredExceptionHandler "
     "UpdateProcThreadAttribute",
        none, ERROR_NOT_ENOUGH_MEMORY},
    {"_vscwprintf _vsnwprintf _snwprintf TlsAlloc WaitForMultipleObjects", invalid, ERROR_NOT_ENOUGH_MEMORY},
    {"PathAllocCombine PathAllocCanonicalize CoInitializeEx OleRun", 0x8007000e, 0}, // E_OUTOFMEMORY
    {"ReadFile CreateThreadpoolWork CreateEventW CreateEventA CreateSemaphoreA DuplicateHandle "
     "GetTokenInformation GetNamedPipeServerProcessId "
     "GetFinalPathNameByHandleW CreateThread OpenThread GetFileInformationByHandle GetSystemWindowsDirectoryW",
        none, ERROR_NO_SYSTEM_RESOURCES},
    {"RegGetValueW RegQueryValueExW RegSetValueExW SetEntriesInAclW", ERROR_NO_SYSTEM_RESOURCES, 0},
    {"NtQueryObject", 0xc000009a, 0}, // STATUS_INSUFFICIENT_RESOURCES
    {"CreateProcessW LoadLibraryA LoadLibraryW LoadLibraryExW", none, ERROR_COMMITMENT_LIMIT},
    {"CreateFileW", invalid, ERROR_TOO_MANY_OPEN_FILES}, {"CreateNamedPipeW", invalid, ERROR_PIPE_BUSY},
    {"CreateFileW GetFileAttributesW FindFirstFileW", invalid, ERROR_ACCESS_DENIED},
    {"CreateMutexW OpenMutexW GetKernelObjectSecurity CreateProcessW CreateProcessAsUserW GetExitCodeProcess "
     "GetPriorityClass "
     "OpenProcess OpenProcessToken OpenThreadToken DuplicateTokenEx OpenServiceW QueryServiceConfigW "
     "GetFileInformationByHandleEx SetFileInformationByHandle DeleteFileW SetCurrentDirectoryW "
     "OpenDesktopW OpenWindowStationW SetProcessWindowStation",
        none, ERROR_ACCESS_DENIED},
    {"RegCreateKeyExW RegOpenKeyExW GetSecurityInfo SetSecurityInfo", ERROR_ACCESS_DENIED, 0},
    {"NtCreateFile", 0xc0000022, 0}, {"NtCreateFile", 0xc0000043, 0}, // access denied, sharing violation
    {"NtCreateFile", 0xc0000056, 0},                                  // delete pending
    {"CreateFileW ReOpenFile", invalid, ERROR_SHARING_VIOLATION}, {"fputs fputws fflush", invalid, ERROR_DISK_FULL},
    {"fwrite WriteFile", none, ERROR_DISK_FULL}, {"ReadFile WriteFile", none, 0, Way::shorten},
    {"GetFileInformationByHandleEx FindNextFileW", none, ERROR_CRC}, {"GetDiskFreeSpaceExW", none, ERROR_NOT_READY},
    {"PeekNamedPipe", none, ERROR_BROKEN_PIPE}, {"WriteFile", none, ERROR_NO_DATA},
    {"GetOverlappedResult", none, ERROR_OPERATION_ABORTED}, {"WaitNamedPipeW", none, ERROR_SEM_TIMEOUT},
    {"SetNamedPipeHandleState", none, ERROR_PIPE_NOT_CONNECTED},
    {"WaitForSingleObject", WAIT_FAILED, ERROR_INVALID_HANDLE},
    {"WaitForSingleObject WaitForMultipleObjects", WAIT_ABANDONED, 0},
    {"CreateMutexW", none, ERROR_INVALID_HANDLE}, // the name denotes another kind of object
    {"GetProcAddress GetModuleHandleW K32EnumProcessModules", none, ERROR_PROC_NOT_FOUND},
    {"PathStripToRootW SHGetSpecialFolderPathW SetFilePointerEx SetDefaultDllDirectories "
     "SetProcessMitigationPolicy SetThreadStackGuarantee SystemTimeToFileTime SetFileInformationByHandle "
     "GetAce DeviceIoControl",
        none, ERROR_INVALID_PARAMETER},
    {"MultiByteToWideChar", none, ERROR_NO_UNICODE_TRANSLATION},
    {"RegGetValueW RegQueryValueExW RegOpenKeyExW", ERROR_FILE_NOT_FOUND, 0},
    {"OpenSCManagerW RegisterEventSourceW QueryServiceStatus", none, RPC_S_SERVER_UNAVAILABLE},
    {"ReportEventW", none, ERROR_LOG_FILE_FULL}, {"CoCreateInstance", 0x80040154, 0}, // REGDB_E_CLASSNOTREG
};
static_assert(std::size(failures) <= 64);

struct Function
{
    std::string_view name;
    std::uint64_t failures; // a bit for each row
    void* address;
    std::uint32_t possible = 0; // the possible failures so far
};
constinit Function functions[std::size(FailingCall{}.drawn)] = {}; // filled before constructors run
std::uint32_t functionCount = 0;
constexpr std::size_t thunkSize = 32;
BYTE* thunks = nullptr; // one for each function
decltype(&GetProcAddress) realGetProcAddress = nullptr;
FailingCall* shared = nullptr;

/// A number without visible relation to the given one.
std::uint32_t mixed(LONG number) noexcept
{
    std::uint64_t value = static_cast<std::uint64_t>(number) * 0x9e3779b97f4a7c15;
    value = (value ^ value >> 32) * 0x9e3779b97f4a7c15;
    return static_cast<std::uint32_t>(value >> 32);
}

} // namespace

extern "C" {

void gate();

/// Handles one call. @param arguments  the first four in reverse order @return the function to jump to; null when the
/// call fails: the result then replaces the first argument
__attribute__((used)) void* passGate(std::uint32_t index, std::uint64_t* arguments)
{
    Function& function = functions[index];
    InterlockedIncrement(&shared->calls);
    for (std::size_t row = 0; row < std::size(failures); ++row) {
        const Failure& failure = failures[row];
        if (!(function.failures >> row & 1))
            continue;
        const LONG number = InterlockedIncrement(&shared->possible);
        // Keeps each of the function's failures with the same probability.
        if (mixed(number + shared->seed) % ++function.possible == 0)
            shared->drawn[index] = number;
        const bool isTurn = number == shared->wanted;
        if (!isTurn && !(shared->forEver && failure.way == Way::failForEver))
            continue;
        function.name.copy(shared->function, sizeof shared->function - 1);
        shared->forEver = failure.way == Way::failForEver;
        if (failure.way == Way::shorten) {
            arguments[1] = (arguments[1] + 1) / 2;
            return function.address;
        }
        SetLastError(failure.code);
        arguments[3] = failure.value;
        return nullptr;
    }
    return function.address;
}
}

// Restores the stack and the argument registers before it jumps to the function.
__asm__(R"(
gate:
    pushq %rcx
    pushq %rdx
    pushq %r8
    pushq %r9
    subq $40, %rsp
    movl %eax, %ecx
    leaq 40(%rsp), %rdx
    call passGate
    addq $40, %rsp
    popq %r9
    popq %r8
    popq %rdx
    popq %rcx
    testq %rax, %rax
    jz 1f
    jmp *%rax
1:  movq %rcx, %rax
    ret
)");

namespace {

FARPROC WINAPI getProcAddress(HMODULE module, const char* name);

/// Whether a list of names contains the name.
bool isAmong(std::string_view names, std::string_view name)
{
    for (std::size_t at = names.find(name); at != std::string_view::npos; at = names.find(name, at + 1)) {
        const std::string_view behind = names.substr(at + name.size());
        if ((at == 0 || names[at - 1] == ' ') && (behind.empty() || behind.front() == ' '))
            return true;
    }
    return false;
}

/// The address of a function: through the gate if the function can fail, else its own.
void* guarded(std::string_view name, void* address)
{
    Function function{name, 0, name == "GetProcAddress" ? reinterpret_cast<void*>(getProcAddress) : address};
    for (std::size_t row = 0; row < std::size(failures); ++row)
        function.failures |= std::uint64_t{isAmong(failures[row].functions, name)} << row;
    if (function.failures == 0 || !address)
        return address;
    const std::uint32_t index = functionCount++;
    functions[index] = function;
    BYTE* const thunk = thunks + index * thunkSize;
    void (*const target)() = gate;
    memcpy(thunk, "\xb8", 1); // mov eax, index
    memcpy(thunk + 1, &index, 4);
    memcpy(thunk + 5, "\x49\xbb", 2); // mov r11, gate
    memcpy(thunk + 7, &target, 8);
    memcpy(thunk + 15, "\x41\xff\xe3", 3); // jmp r11
    return thunk;
}

/// Replaces GetProcAddress, so that late-bound functions go through the gate too.
FARPROC WINAPI getProcAddress(HMODULE module, const char* name)
{
    void* const function = reinterpret_cast<void*>(realGetProcAddress(module, name));
    return reinterpret_cast<FARPROC>(guarded(name, function));
}

void attach()
{
    wchar_t name[64];
    const DWORD length = GetEnvironmentVariableW(FailingCall::variable, name, std::size(name));
    const HANDLE section = length ? OpenFileMappingW(FILE_MAP_WRITE, FALSE, name) : nullptr;
    static FailingCall alone;
    shared =
        section ? static_cast<FailingCall*>(MapViewOfFile(section, FILE_MAP_WRITE, 0, 0, sizeof *shared)) : &alone;
    if (section)
        CloseHandle(section);
}

/// Counts the open handles one by one: Wine has no count of them.
void countHandles()
{
    constexpr std::uintptr_t step = 4, highest = 2000;
    DWORD flags = 0;
    for (std::uintptr_t handle = step; handle < highest; handle += step)
        shared->handles += GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) ? 1 : 0;
}

// Runs before every other constructor of the program.
#pragma GCC diagnostic ignored "-Wprio-ctor-dtor"
__attribute__((constructor(100))) void patchImports()
{
    attach();
    atexit(countHandles); // registered first, so called last
    thunks = static_cast<BYTE*>(
        VirtualAlloc(nullptr, std::size(functions) * thunkSize, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE));
    realGetProcAddress = GetProcAddress;
    visitImports([](const char* name, void** entry) { setImport(entry, guarded(name, *entry)); });
}

} // namespace

extern "C" int __real_wmain(int argc, wchar_t** argv);

/// Called instead of the program's entry point.
extern "C" int __wrap_wmain(int argc, wchar_t** argv)
{
    shared->before = shared->possible;
    for (std::size_t index = 0; shared->seed != 0 && index < std::size(functions); ++index)
        shared->drawn[index] = functions[index].possible = 0;
    return __real_wmain(argc, argv);
}
