#pragma once

#include "test/child_process.h"
#include "test/kit.h"
#include "test/sandbox.h"

#include <memory>

/// Runs the program with the real configuration key and a new installation directory. Removes the key afterwards.
class ProgramRun : public testing::Test
{
protected:
    ProgramRun() { setConfig(L"PRODUCT_ROOT_D", root.path()); }
    void SetUp() override
    {
        if (kit::isRunning() &&
            kit::drive().empty()) // its own installation directory would lie on the system's volume
            GTEST_SKIP() << "the kit has no disk of its own";
    }
    ~ProgramRun() override
    {
        HKEY software = nullptr;
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE", 0, KEY_ALL_ACCESS | KEY_WOW64_32KEY, &software);
        RegDeleteTreeW(software, L"Kelvo");
        RegCloseKey(software);
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Kelvo");
    }

    /// Runs mendkit; see runChild().
    static ChildResult run(const std::wstring& arguments, bool capture = true)
    {
        return runChild(builtProgram(L"app\\mendkit.exe"), arguments, capture);
    }

    /// Whether a client can connect to the pipe now.
    static bool isFree(const std::wstring& pipe) { return WaitNamedPipeW((L"\\\\.\\pipe\\" + pipe).c_str(), 1); }

    /// Waits until the pipe is free; half a minute is enough for a busy machine.
    static bool becomesFree(const std::wstring& pipe)
    {
        const ULONGLONG start = GetTickCount64();
        while (!isFree(pipe)) {
            if (GetTickCount64() - start > 30'000)
                return false;
            Sleep(1);
        }
        return true;
    }

    /// Starts a management service for one client at a time and waits until its pipe is free.
    /// @param silence  milliseconds before each reply
    /// @param values   its answers, quoted: the installation directory and the directory of dumps
    std::unique_ptr<vexecutil> serve(
        const wchar_t* silence, const wchar_t* pipe, const std::wstring& values = L"") const
    {
        auto service = std::make_unique<vexecutil>();
        service->path = devpanel;
        service->arguments = L"serve " + std::wstring(silence) + L" " + pipe + L" " + values;
        startPatiently(*service);
        EXPECT_TRUE(becomesFree(pipe));
        return service;
    }

    const ProductRoot root;
    const std::wstring devpanel = builtProgram(L"devpanel\\devpanel.exe");
};
