#include "logging/crash/crash_dump.h"

#include "logging/crash/crash_dump_file.h"
#include "logging/log_manager.h"
#include "runtime/failure/vosexception.h"
#include "runtime/late/late_imports.h"
#include "runtime/operation/operation.h"

namespace {

/// The dump's own errors come as an HRESULT, most of them a system error in disguise.
DWORD dumpError(DWORD code)
{
    const auto result = static_cast<HRESULT>(code);
    return FAILED(result) && HRESULT_FACILITY(result) == FACILITY_WIN32 ? HRESULT_CODE(result) : code;
}

void writeDump(const std::wstring& fileName, EXCEPTION_POINTERS* exceptionPointers, MINIDUMP_TYPE dumpType)
{
    CrashDumpFile file(fileName);
    const UniqueFile target = file.duplicate();
    MINIDUMP_EXCEPTION_INFORMATION information{GetCurrentThreadId(), exceptionPointers, TRUE};
    // Bound at the fault: at the start it would cost a tenth of what a whole run takes. The fault may be anywhere,
    // the loader included, but on this thread, where the loader's lock can be taken again.
    if (!late::MiniDumpWriteDump(
            GetCurrentProcess(), GetCurrentProcessId(), target.get(), dumpType, &information, nullptr, nullptr)) {
        const DWORD code = dumpError(GetLastError());
        throwOsError(code, L"Unable to generate dump file", {"internalDumpMiniDump", 740});
    }
    file.keep();
}

} // namespace

void internalDumpMiniDump(
    const std::wstring& fileName, EXCEPTION_POINTERS* exceptionPointers, MINIDUMP_TYPE dumpType) noexcept
{
    try {
        operation(
            {"internalDumpMiniDump"}, [&] { return L"Unable to call internalDumpMiniDump(" + fileName + L")"; },
            [&](Span&) { writeDump(fileName, exceptionPointers, dumpType); });
    } catch (const vexception& failure) {
        LogManager::log(LogLevel::Error, failure);
    } catch (...) { // no memory to say what it was
    }
}
