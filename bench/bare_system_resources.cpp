// Starts the three utilities of mendkit --get-system-resources one after the other, reads their output and prints a
// text as long as the command's: the reference for this command.

#include "devpanel/panel_root.h"

#include <windows.h>

#include <cstdio>
#include <string>

int wmain()
{
    std::string output;
    for (const wchar_t* what : {L"loadavg", L"memory", L"swap"}) {
        std::wstring commandLine = L"\"" + panelRoot() + L"\\admin\\bin\\sysinfo.exe\" " + std::wstring(what);
        SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
        HANDLE reader = nullptr, writer = nullptr;
        CreatePipe(&reader, &writer, &inherit, 0);
        SetHandleInformation(reader, HANDLE_FLAG_INHERIT, 0);
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = startup.hStdError = writer;
        PROCESS_INFORMATION process{};
        if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr, nullptr,
                &startup, &process))
            return 1;
        CloseHandle(writer);
        char part[1024];
        for (DWORD bytes = 0; ReadFile(reader, part, sizeof part, &bytes, nullptr) && bytes > 0;)
            output.append(part, bytes);
        WaitForSingleObject(process.hProcess, INFINITE);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
        CloseHandle(reader);
    }
    std::printf("%-250s\n", output.c_str());
    return 0;
}
