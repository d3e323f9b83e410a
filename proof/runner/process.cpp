#include "proof/runner/process.h"

#include "runtime/failure/vosexception.h"
#include "runtime/handle/handles.h"

namespace {

/// A file for the output: unlike a pipe, no process that outlives the program keeps its reader waiting.
UniqueFile outputFile()
{
    wchar_t folder[MAX_PATH], name[MAX_PATH];
    GetTempPathW(MAX_PATH, folder);
    GetTempFileNameW(folder, L"mkp", 0, name);
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    return UniqueFile(CreateFileW(name, GENERIC_READ | GENERIC_WRITE | DELETE,
        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &inherit, CREATE_ALWAYS,
        FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
}

std::string contentOf(HANDLE file)
{
    std::string content;
    SetFilePointer(file, 0, nullptr, FILE_BEGIN);
    char part[4096];
    for (DWORD count = 0; ReadFile(file, part, sizeof part, &count, nullptr) && count > 0;)
        content.append(part, count);
    return content;
}

} // namespace

ProcessResult runProcess(std::wstring commandLine, DWORD limit)
{
    const UniqueFile output = outputFile();
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    const UniqueFile input(CreateFileW(L"NUL", GENERIC_READ, 0, &inherit, OPEN_EXISTING, 0, nullptr));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input.get();
    startup.hStdOutput = startup.hStdError = output.get();

    const UniqueHandle job(CreateJobObjectW(nullptr, nullptr));
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr, nullptr,
            &startup, &started))
        throwOsError(GetLastError(), L"CreateProcess " + commandLine, {"runProcess"});
    const UniqueHandle process(started.hProcess), thread(started.hThread);
    // Also when this process is in a job ("Nested Jobs": since Windows 8), unless that job limits the use of windows.
    AssignProcessToJobObject(job.get(), process.get());
    ResumeThread(thread.get());

    const bool isInTime = WaitForSingleObject(process.get(), limit) == WAIT_OBJECT_0;
    TerminateJobObject(job.get(), 1);
    TerminateProcess(process.get(), 1); // where it is not in the job
    WaitForSingleObject(process.get(), 5000);
    DWORD code = 1;
    GetExitCodeProcess(process.get(), &code);
    return {code, isInTime, contentOf(output.get())};
}
