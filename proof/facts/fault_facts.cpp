// Faults that Wine cannot raise, and the dumps of the system's own library.

#include "proof/facts/needs.h"
#include "test/program.h"

#include <dbghelp.h>

#include <cstddef>
#include <cstring>

namespace {

class Faults : public ProgramRun
{
protected:
    Faults()
    {
        setConfig(L"SendFeedback", L"false");
        setConfig(L"CrashDumpsLocation", root.path() + L"\\missing"); // so no fault writes its dump
    }
    static ChildResult fault(const std::wstring& word)
    {
        return runChild(builtProgram(L"test\\fault_program.exe"), L"\"" + word + L"\"");
    }

    std::wstring firstDump() const
    {
        WIN32_FIND_DATAW found{};
        FindClose(FindFirstFileW((dumps + L"*.dmp").c_str(), &found));
        return *found.cFileName ? dumps + found.cFileName : L"";
    }

    const std::wstring dumps = root.path() + L"\\admin\\logs\\";
};

/// The bytes of a dump's stream; empty when the dump lacks it.
std::string streamOf(std::string& dump, ULONG kind)
{
    MINIDUMP_DIRECTORY* directory = nullptr;
    void* stream = nullptr;
    ULONG size = 0;
    const BOOL isFound = MiniDumpReadDumpStream(dump.data(), kind, &directory, &stream, &size);
    return isFound ? std::string(static_cast<const char*>(stream), size) : "";
}

/// A record at an offset of a stream; copied, because it is not aligned there.
template <typename Type>
Type recordAt(const std::string& stream, std::size_t offset)
{
    Type record{};
    if (offset + sizeof record <= stream.size())
        memcpy(static_cast<void*>(&record), stream.data() + offset, sizeof record);
    return record;
}

/// Whether the dump has the memory at an address.
bool hasMemory(const std::string& list, ULONG64 address)
{
    const auto count = recordAt<ULONG64>(list, 0);
    for (ULONG64 number = 0; number < count; ++number) {
        const auto range =
            recordAt<MINIDUMP_MEMORY_DESCRIPTOR64>(list, 16 + number * sizeof(MINIDUMP_MEMORY_DESCRIPTOR64));
        if (address >= range.StartOfMemoryRange && address - range.StartOfMemoryRange < range.DataSize)
            return true;
    }
    return false;
}

} // namespace

TEST_F(Faults, StackOverflow)
{
    const ChildResult result = fault(L"stack");
    EXPECT_EQ(1u, result.exitCode) << "the system ends the process before the program can";
    EXPECT_NE(std::string::npos, result.output.find("C structured exception: 0xc00000fd")) << result.output;
}

TEST_F(Faults, FailFast)
{
    const ChildResult result = fault(L"fail fast");
    EXPECT_EQ(0xc0000409u, result.exitCode) << "a fast failure ends the process otherwise"; // __fastfail
    EXPECT_EQ("", result.output) << "a handler ran, although none may";
}

TEST_F(Faults, HeapCorruption)
{
    SKIP_UNDER_WINE("no corruption is noticed");
    const ChildResult result = fault(L"freed twice");
    if (result.exitCode == 0)
        GTEST_SKIP() << "this system's heap does not notice a block that is freed twice";
    const bool isRecorded = result.exitCode == 1 && result.output.find("0xc0000374") != std::string::npos;
    const bool isEnded = (result.exitCode == 0xc0000374u || result.exitCode == 0xc0000409u) && result.output.empty();
    EXPECT_TRUE(isRecorded || isEnded) << "neither recorded nor ended by the system: " << result.exitCode << " "
                                       << result.output;
    std::printf("Figure: heap corruption %s\n", isRecorded ? "is recorded" : "ends the process at once");
}

TEST_F(Faults, DumpDeadline)
{
    setConfig(L"CrashDumpsLocation", dumps);
    for (const wchar_t* word : {L"dump hanging at modules", L"dump hanging at threads"}) {
        vexecutil child;
        child.path = builtProgram(L"test\\fault_program.exe");
        child.arguments = L"\"" + std::wstring(word) + L"\"";
        child.stdoutFile = L"NUL";
        startPatiently(child);
        const bool isEnded = child.waitForExit(30'000); // the deadline's two minutes pass in 0.2 seconds
        terminate(child);
        EXPECT_TRUE(isEnded) << "dbghelp halts the thread that watches the dump: " << testing::PrintToString(word);
        EXPECT_TRUE(!isEnded || child.exitCode() == 1) << "ended otherwise: " << child.exitCode();
        EXPECT_EQ(L"", firstDump()) << "a part of the dump stays";
    }
}

TEST_F(Faults, DumpIsReadable)
{
    SKIP_UNDER_WINE("a dump takes minutes; Faults.PrunesOldDumpsAndProtectsTheNewOne reads one");
    setConfig(L"CrashDumpsLocation", dumps);
    EXPECT_EQ(1u, fault(L"write").exitCode);
    const std::wstring file = firstDump();
    ASSERT_NE(L"", file) << "no dump was written";
    std::string dump = readFile(file);
    const std::string exception = streamOf(dump, ExceptionStream), threads = streamOf(dump, ThreadListStream),
                      modules = streamOf(dump, ModuleListStream), memory = streamOf(dump, Memory64ListStream);
    EXPECT_NE("", streamOf(dump, SystemInfoStream)) << "a debugger needs the processor's kind";
    ASSERT_TRUE(!exception.empty() && !threads.empty() && !modules.empty() && !memory.empty())
        << "a debugger lacks a stream";
    const auto fault = recordAt<MINIDUMP_EXCEPTION>(exception, offsetof(MINIDUMP_EXCEPTION_STREAM, ExceptionRecord));
    EXPECT_EQ(DWORD{EXCEPTION_ACCESS_VIOLATION}, fault.ExceptionCode);

    bool isInModule = false, isThreadKnown = false;
    for (ULONG32 number = 0; number < recordAt<ULONG32>(modules, 0); ++number) {
        const auto module = recordAt<MINIDUMP_MODULE>(modules, 4 + number * sizeof(MINIDUMP_MODULE));
        isInModule |= fault.ExceptionAddress - module.BaseOfImage < module.SizeOfImage;
    }
    EXPECT_TRUE(isInModule) << "no module of the dump holds the faulting instruction";
    for (ULONG32 number = 0; number < recordAt<ULONG32>(threads, 0); ++number) {
        const auto thread = recordAt<MINIDUMP_THREAD>(threads, 4 + number * sizeof(MINIDUMP_THREAD));
        if (thread.ThreadId != recordAt<ULONG32>(exception, 0))
            continue;
        isThreadKnown = true;
        EXPECT_TRUE(hasMemory(memory, thread.Stack.StartOfMemoryRange)) << "the faulting thread's stack is missing";
    }
    EXPECT_TRUE(isThreadKnown) << "the dump does not have the faulting thread";
    EXPECT_TRUE(hasMemory(memory, fault.ExceptionAddress)) << "the code is missing";
}
