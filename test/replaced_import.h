#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <utility>

/// Replaces a function that this program imports, for a scope. For calls whose arguments or failures cannot be tested
/// otherwise under Wine.
class ReplacedImport
{
public:
    /// @param name  as imported, such as "RegisterEventSourceW"
    template <typename Function>
    ReplacedImport(const char* name, Function* replacement) : entry_(find(name))
    {
        EXPECT_TRUE(entry_) << name << " is not imported";
        original_ = exchange(reinterpret_cast<void*>(replacement));
    }
    ReplacedImport(const ReplacedImport&) = delete;
    ReplacedImport& operator=(const ReplacedImport&) = delete;
    ~ReplacedImport() { exchange(original_); }

private:
    static void** find(const char* name)
    {
        auto* const base = reinterpret_cast<BYTE*>(GetModuleHandleW(nullptr));
        const auto& headers =
            *reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
        const DWORD imports = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
        for (auto* library = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + imports); library->Name; ++library) {
            auto* names = reinterpret_cast<IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
            auto* addresses = reinterpret_cast<void**>(base + library->FirstThunk);
            for (; names->u1.AddressOfData; ++names, ++addresses) {
                if (strcmp(reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData)->Name, name) == 0)
                    return addresses;
            }
        }
        return nullptr;
    }

    void* exchange(void* function) const
    {
        DWORD protection = 0;
        if (!entry_ || !VirtualProtect(entry_, sizeof *entry_, PAGE_READWRITE, &protection))
            return nullptr;
        void* const before = std::exchange(*entry_, function);
        VirtualProtect(entry_, sizeof *entry_, protection, &protection);
        return before;
    }

    void** entry_;
    void* original_ = nullptr;
};
