#pragma once

#include <windows.h>

/// Calls visit(name, entry) for each function that this program imports. The entry of the import table holds the
/// function's address. Uses neither the heap nor the run times.
template <typename Visit>
void visitImports(Visit visit)
{
    auto* const base = reinterpret_cast<BYTE*>(GetModuleHandleW(nullptr));
    const auto& headers =
        *reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const DWORD imports = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (auto* library = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + imports); library->Name; ++library) {
        auto* names = reinterpret_cast<IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
        auto* addresses = reinterpret_cast<void**>(base + library->FirstThunk);
        for (; names->u1.AddressOfData; ++names, ++addresses)
            visit(reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData)->Name, addresses);
    }
}

/// Sets an entry of the import table. @return what it held; null when it cannot be set
inline void* setImport(void** entry, void* function)
{
    DWORD protection = 0;
    if (!entry || !VirtualProtect(entry, sizeof *entry, PAGE_READWRITE, &protection))
        return nullptr;
    void* const before = *entry;
    *entry = function;
    VirtualProtect(entry, sizeof *entry, protection, &protection);
    return before;
}
