#pragma once

#include "test/child_process.h"
#include "test/sandbox.h"

#include <vector>

/// A service that a fact makes. It is stopped and deleted at the end.
class TemporaryService
{
public:
    /// @param suffix   the name is "mendkit_proof_" and this; prove.exe removes services with that beginning
    /// @param account  null: SYSTEM. No password: a virtual account must have a null one ("CreateServiceW function"),
    ///                 and LocalService ignores it ("LocalService Account")
    TemporaryService(const std::wstring& suffix, const std::wstring& commandLine, const wchar_t* account = nullptr)
        : name_(L"mendkit_proof_" + suffix), manager_(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CREATE_SERVICE))
    {
        // Others may have the last service of this name still open; and a run that was ended leaves its own.
        for (int patience = 100; !create(commandLine, account) && patience > 0; --patience) {
            const DWORD code = GetLastError();
            if (code != ERROR_SERVICE_MARKED_FOR_DELETE && code != ERROR_SERVICE_EXISTS)
                break;
            const UniqueService left(OpenServiceW(manager_.get(), name_.c_str(), SERVICE_STOP | DELETE));
            SERVICE_STATUS status;
            ControlService(left.get(), SERVICE_CONTROL_STOP, &status);
            DeleteService(left.get());
            Sleep(100);
            SetLastError(code);
        }
        EXPECT_TRUE(service_) << "the service cannot be made: " << GetLastError();
    }
    TemporaryService(const TemporaryService&) = delete;
    TemporaryService& operator=(const TemporaryService&) = delete;
    ~TemporaryService()
    {
        stop();
        DeleteService(service_.get());
    }

    const std::wstring& name() const { return name_; }
    SC_HANDLE handle() const { return service_.get(); } // weak

    /// @return the system's code; 1069 where the machine's policy refuses the account's logon
    DWORD start(std::vector<const wchar_t*> arguments) const
    {
        const auto count = static_cast<DWORD>(arguments.size());
        return StartServiceW(service_.get(), count, arguments.data()) ? ERROR_SUCCESS : GetLastError();
    }

    void stop() const
    {
        SERVICE_STATUS status;
        ControlService(service_.get(), SERVICE_CONTROL_STOP, &status);
        waitForEnd(10'000);
    }

    /// @return whether it has stopped within the time
    bool waitForEnd(DWORD milliseconds) const
    {
        const ULONGLONG begun = GetTickCount64();
        while (status().dwCurrentState != SERVICE_STOPPED) {
            if (GetTickCount64() - begun > milliseconds)
                return false;
            Sleep(20);
        }
        return true;
    }

    /// The code with which it has stopped.
    DWORD exitCode() const { return status().dwServiceSpecificExitCode; }

private:
    bool create(const std::wstring& commandLine, const wchar_t* account)
    {
        service_.reset(CreateServiceW(manager_.get(), name_.c_str(), name_.c_str(), SERVICE_ALL_ACCESS,
            SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, commandLine.c_str(), nullptr,
            nullptr, nullptr, account, nullptr));
        return static_cast<bool>(service_);
    }

    SERVICE_STATUS status() const
    {
        SERVICE_STATUS status{};
        QueryServiceStatus(service_.get(), &status);
        return status;
    }

    std::wstring name_;
    UniqueService manager_, service_;
};

/// Runs a command line to its end as SYSTEM in session 0. @param outputFile  gets its output
inline ChildResult runAsSystem(const std::wstring& commandLine, const std::wstring& outputFile)
{
    const TemporaryService service(L"command", L"\"" + builtProgram(L"devpanel\\devpanel.exe") + L"\" command");
    EXPECT_EQ(DWORD{ERROR_SUCCESS}, service.start({commandLine.c_str(), outputFile.c_str()}))
        << "no service of SYSTEM can be started from the kit's folder";
    EXPECT_TRUE(service.waitForEnd(120'000)) << "the command does not end in session 0";
    return {service.exitCode(), readFile(outputFile)};
}
