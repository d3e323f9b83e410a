#include "test/child_process.h"

#include "runtime/handles.h"
#include "runtime/module.h"
#include "runtime/path.h"

#include <gtest/gtest.h>

namespace {

/// Everything started from here ends with the test, whatever happens to it.
HANDLE jobOfTest()
{
    static const UniqueHandle job = [] {
        UniqueHandle created(CreateJobObjectW(nullptr, nullptr));
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        SetInformationJobObject(created.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
        return created;
    }();
    return job.get();
}

UniqueHandle start(const std::wstring& program, const std::wstring& arguments, HANDLE output)
{
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output;
    startup.hStdError = output;
    std::wstring commandLine = L"\"" + program + L"\" " + arguments;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED,
            nullptr, nullptr, &startup, &process)) {
        ADD_FAILURE() << "cannot start the program, error " << GetLastError();
        return UniqueHandle();
    }
    AssignProcessToJobObject(jobOfTest(), process.hProcess);
    ResumeThread(process.hThread);
    CloseHandle(process.hThread);
    return UniqueHandle(process.hProcess);
}

std::uint32_t waitFor(const UniqueHandle& process)
{
    DWORD code = ~0u;
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(process.get(), 50'000));
    GetExitCodeProcess(process.get(), &code);
    return code;
}

} // namespace

ChildResult runChild(const std::wstring& program, const std::wstring& arguments, void* output)
{
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    UniqueFile reader, writer;
    CreatePipe(reader.receive(), writer.receive(), &inherit, 0);
    SetHandleInformation(reader.get(), HANDLE_FLAG_INHERIT, 0);
    const UniqueHandle process = start(program, arguments, output ? output : writer.get());
    writer.reset();

    ChildResult result{};
    char buffer[4096];
    for (DWORD got = 0; ReadFile(reader.get(), buffer, sizeof buffer, &got, nullptr) && got > 0;)
        result.output.append(buffer, got);
    result.exitCode = waitFor(process);
    return result;
}

std::vector<std::uint32_t> runMany(const std::wstring& program, const std::wstring& arguments, int count)
{
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    const UniqueFile nowhere(CreateFileW(L"NUL", GENERIC_WRITE, 0, &inherit, OPEN_EXISTING, 0, nullptr));
    std::vector<UniqueHandle> processes;
    for (int index = 0; index < count; ++index)
        processes.push_back(start(program, arguments, nowhere.get()));
    std::vector<std::uint32_t> codes;
    for (const UniqueHandle& process : processes)
        codes.push_back(waitFor(process));
    return codes;
}

std::wstring builtProgram(const std::wstring& relative)
{
    return path::combine(moduleFileName(), L"..\\..\\" + relative);
}
