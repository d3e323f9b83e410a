#pragma once

#include "runtime/failure/vosexception.h"
#include "system/isystem_helper.h"

#include <map>
#include <string>
#include <vector>

/// A system helper in memory: returns its members and records the calls. The call named in `failing` fails with
/// ERROR_ACCESS_DENIED.
struct FakeSystemHelper : KelvoRepairAdapter::ISystemHelper
{
    bool isServiceExist(const std::wstring& name) override { return note(L"exist " + name), exists; }
    std::uint32_t getServiceStartupType(const std::wstring& name) override
    {
        return note(L"type " + name), startType;
    }
    std::uint32_t getServiceStatus(const std::wstring& name) override { return note(L"state " + name), state; }
    std::wstring execUtil(const std::wstring& name, const std::wstring& arguments, bool bin64) override
    {
        note(name + L" " + arguments + (bin64 ? L" 64" : L""));
        return outputs[arguments];
    }
    std::wstring getKelvoRootDir() override { return note(L"root"), root; }
    std::wstring getDumpTempDir() override { return note(L"dumps"), dumps; }
    std::wstring getWindowsDir() override { return note(L"windows"), windows; }
    DiskSpace getDiskSpace(const std::wstring& path) override { return note(L"space " + path), volumes[path]; }
    DirectoryEntries listDirectory(const std::wstring& path, std::int32_t kind) override
    {
        return note(L"list " + std::to_wstring(kind) + L" " + path), entries[path];
    }
    void removeDirectory(const std::wstring& path) override { note(L"rd " + path); }
    void removeFile(const std::wstring& path) override { note(L"del " + path); }

    void note(const std::wstring& call)
    {
        calls.push_back(call);
        if (call == failing)
            throwOsError(ERROR_ACCESS_DENIED, call, {"FakeSystemHelper"});
    }

    bool exists = true;
    std::uint32_t startType = 2, state = 4;
    std::wstring root = L"c:\\Panel", dumps = L"C:\\dumps", windows = L"C:\\Windows", failing;
    std::map<std::wstring, std::wstring> outputs;
    std::map<std::wstring, DiskSpace> volumes;
    std::map<std::wstring, DirectoryEntries> entries;
    std::vector<std::wstring> calls;
};
