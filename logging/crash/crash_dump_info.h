#pragma once

#include "logging/crash/heap_corruption_handler.h"

#include <windows.h>

#include <memory>
#include <string>

/// Whether, where and how often faults of this process leave a dump. While it lives, heap corruptions and the faults
/// that become exceptions are dumped; when it goes, old dumps are pruned. One in a process, from before the entry
/// point to the process's end; what a dump needs is laid out here, not at the fault.
class CrashDumpInfo
{
public:
    /// Reads the settings; what cannot be read keeps its default.
    CrashDumpInfo() noexcept;
    CrashDumpInfo(const CrashDumpInfo&) = delete;
    CrashDumpInfo& operator=(const CrashDumpInfo&) = delete;
    ~CrashDumpInfo();

    /// The full path of a dump that is made now, "<location>\<program>20261116_050412.dmp"; empty when it would be
    /// longer than 260 characters. Valid until the next call.
    /// @throws vexception "Crash dumping does not enabled"
    const std::wstring& getFileName();

    /// Writes a dump of the whole memory; nothing when dumping is off, without exception pointers, and while a dump
    /// is being written.
    void dump(EXCEPTION_POINTERS* pointers) noexcept;

    /// The same with the process's settings, while there are any, for a fault that has passed the vectored handlers:
    /// a heap corruption has been dumped there.
    static void dumpUnhandled(EXCEPTION_POINTERS* pointers) noexcept;

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
