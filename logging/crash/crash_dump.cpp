#include "logging/crash/crash_dump.h"

#include "logging/crash/crash_dump_file.h"
#include "logging/log_manager.h"
#include "runtime/deadline.h"
#include "runtime/failure/vosexception.h"
#include "runtime/fault/process_end.h"
#include "runtime/late/late_imports.h"
#include "runtime/operation/operation.h"

#include <cstdio>

namespace {

/// The Win32 code inside the HRESULT that MiniDumpWriteDump leaves as the last error; other codes as they are.
DWORD dumpError(DWORD code)
{
    return HRESULT_FACILITY(code) == FACILITY_WIN32 ? HRESULT_CODE(code) : code;
}

/// Limits a dump: a process that dumps itself can deadlock with the loader. The watching thread starts with the
/// program, because one that is started at a fault inside the loader would wait for it.
class DumpDeadline
{
public:
    void begin(const EXCEPTION_RECORD& fault) noexcept
    {
        length_ = _snprintf(line_, sizeof line_, "The crash dump was not written in time: 0x%08lx at 0x%p\r\n",
            fault.ExceptionCode, fault.ExceptionAddress);
        deadline_.begin();
    }
    void end() noexcept { deadline_.end(); }

private:
    static void expire(void* context) noexcept
    {
        const auto& self = *static_cast<DumpDeadline*>(context);
        writeLastLine({self.line_, static_cast<std::size_t>(self.length_)});
        endProcess();
    }

    char line_[100] = "";
    int length_ = 0;
    Deadline deadline_{120'000, expire, this};
} dumpDeadline;

void writeDump(const std::wstring& fileName, EXCEPTION_POINTERS* exceptionPointers, MINIDUMP_TYPE dumpType)
{
    CrashDumpFile file(fileName);
    const UniqueFile target = file.duplicate();
    MINIDUMP_EXCEPTION_INFORMATION information{GetCurrentThreadId(), exceptionPointers, TRUE};
    // Loads the dump library now, because loading it at the start would take a tenth of a run's time. This works
    // after a fault inside the loader too: this thread then holds the loader lock, which is recursive.
    dumpDeadline.begin(*exceptionPointers->ExceptionRecord);
    const BOOL isWritten = late::MiniDumpWriteDump(
        GetCurrentProcess(), GetCurrentProcessId(), target.get(), dumpType, &information, nullptr, nullptr);
    const DWORD code = dumpError(GetLastError());
    dumpDeadline.end();
    if (!isWritten) {
        // The line is fixed: part of the interface with the panel's log readers; do not correct.
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
        LogManager::logLater(failure);
    } catch (...) { // no memory for the record
    }
}
