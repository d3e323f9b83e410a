#pragma once

#include "logging/crash/heap_corruption_handler.h"

#include <windows.h>

#include <memory>
#include <string>

/// The settings of crash dumps. During its lifetime, heap corruptions and faults that become C++ exceptions are
/// dumped. The destructor prunes old dumps. One object per process, from static initialisation to process exit.
class CrashDumpInfo
{
public:
    /// Reads the settings. A setting that cannot be read keeps its default.
    CrashDumpInfo() noexcept;
    CrashDumpInfo(const CrashDumpInfo&) = delete;
    CrashDumpInfo& operator=(const CrashDumpInfo&) = delete;
    ~CrashDumpInfo();

    /// The full path of a new dump, "<location>\<program>20261116_050412.dmp" (sic: no separator before the time
    /// stamp). Empty when it would exceed 260 characters. The reference is valid until the next call.
    /// @throws vexception "Crash dumping does not enabled"
    const std::wstring& getFileName();

    /// Writes a dump of the whole memory. Does nothing when dumping is disabled, when the pointers are null, or while
    /// another dump is being written.
    void dump(EXCEPTION_POINTERS* pointers) noexcept;

    /// Calls dump() on the process's object, if there is one. Skips a heap corruption that the vectored handler has
    /// already dumped.
    static void dumpUnhandled(EXCEPTION_POINTERS* pointers) noexcept;

    /// Prunes old dumps for the process's object, if there is one, before the process is terminated. No fault is
    /// dumped from then on.
    static void prune() noexcept;

private:
    void readSettings();

    DWORD enabled_ = 1;
    DWORD maxCount_ = 10;
    std::wstring location_;
    std::wstring prefix_;
    wchar_t name_[20 + 1] = L"";
    std::wstring fullPath_;
    std::unique_ptr<HeapCorruptionHandler> heapCorruptionHandler_;
};
