#pragma once

#include "test/sandbox.h"

#include <windows.h>

#include <dbghelp.h>

/// What a debugger asks of a dump first.
struct DumpContents
{
    explicit DumpContents(const std::wstring& path)
    {
        std::string bytes = readFile(path);
        const auto stream = [&]<typename Stream>(ULONG type, Stream*& found) {
            void* at = nullptr;
            EXPECT_TRUE(MiniDumpReadDumpStream(bytes.data(), type, nullptr, &at, nullptr)) << "no stream " << type;
            return (found = static_cast<Stream*>(at)) != nullptr;
        };
        MINIDUMP_EXCEPTION_STREAM* exceptionStream = nullptr;
        MINIDUMP_THREAD_LIST* threadList = nullptr;
        MINIDUMP_MODULE_LIST* moduleList = nullptr;
        if (!stream(ExceptionStream, exceptionStream) || !stream(ThreadListStream, threadList) ||
            !stream(ModuleListStream, moduleList))
            return;
        exception = exceptionStream->ExceptionRecord;
        modules = moduleList->NumberOfModules;
        for (ULONG index = 0; index < threadList->NumberOfThreads; ++index)
            hasThread |= threadList->Threads[index].ThreadId == exceptionStream->ThreadId;
        for (ULONG index = 0; index < modules; ++index) {
            const MINIDUMP_MODULE& module = moduleList->Modules[index];
            faultIsInModule |= exception.ExceptionAddress - module.BaseOfImage < module.SizeOfImage;
        }
    }

    MINIDUMP_EXCEPTION exception{};
    ULONG modules = 0;
    bool hasThread = false, faultIsInModule = false;
};
