#pragma once

#include "test/child_process.h"
#include "test/sandbox.h"

/// The product's real configuration key, with a product root of the test's own.
class ProgramRun : public testing::Test
{
protected:
    ProgramRun() { setConfig(L"PRODUCT_ROOT_D", root.path()); }
    ~ProgramRun() override
    {
        HKEY software = nullptr;
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE", 0, KEY_ALL_ACCESS | KEY_WOW64_32KEY, &software);
        RegDeleteTreeW(software, L"Kelvo");
        RegCloseKey(software);
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Kelvo");
    }

    static ChildResult run(const std::wstring& arguments, bool capture = true)
    {
        return runChild(builtProgram(L"app\\mendkit.exe"), arguments, capture);
    }

    const ProductRoot root;
};
