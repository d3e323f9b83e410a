#pragma once

#include "runtime/handles.h"
#include "test/child_process.h"

#include <gtest/gtest.h>

/// A service of the test's own in the real service control manager; stopped and deleted with the object.
class OwnService
{
public:
    /// @param state  the state that it reports once it is started; 0: it is not started
    OwnService(DWORD startType, DWORD state, std::size_t pathPadding = 0)
        : name(L"mendkit_test_" + std::to_wstring(GetCurrentProcessId()) + L"_" + std::to_wstring(state)),
          manager_(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS))
    {
        const std::wstring path = L"\"" + builtProgram(L"devpanel\\devpanel.exe") + L"\" service " +
                                  std::to_wstring(state) + std::wstring(pathPadding, L' ');
        service_.reset(CreateServiceW(manager_.get(), name.c_str(), name.c_str(), SERVICE_ALL_ACCESS,
            SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, path.c_str(), nullptr, nullptr,
            nullptr, nullptr, nullptr));
        EXPECT_TRUE(service_) << GetLastError();
        if (state != 0) {
            EXPECT_TRUE(StartServiceW(service_.get(), 0, nullptr)) << GetLastError();
            SERVICE_STATUS status{};
            for (int tries = 0; tries < 500 && status.dwCurrentState != state; ++tries, Sleep(10))
                QueryServiceStatus(service_.get(), &status);
        }
        ChangeServiceConfigW(service_.get(), SERVICE_NO_CHANGE, startType, SERVICE_NO_CHANGE, nullptr, nullptr,
            nullptr, nullptr, nullptr, nullptr, nullptr);
    }

    ~OwnService()
    {
        SERVICE_STATUS status;
        ControlService(service_.get(), SERVICE_CONTROL_STOP, &status);
        DeleteService(service_.get());
    }

    const std::wstring name;

private:
    UniqueService manager_, service_;
};
