#include "runtime/late/late_function.h"

#include "runtime/failure/vosexception.h"

#include <cstring>

HMODULE LateLibrary::load() noexcept
{
    HMODULE module = module_.load();
    if (!module) {
        // This also loads API sets (api-ms-win-*): the loader resolves their names before it searches a directory.
        module = LoadLibraryExW(name_, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
        if (module)
            module_.store(module);
    }
    return module;
}

void* LateAddress::find() noexcept
{
    // Without a lock: threads that look the function up at the same time find the same address.
    void* address = address_.load();
    if (!address) {
        const HMODULE module = library_.load();
        address = module ? reinterpret_cast<void*>(GetProcAddress(module, name_)) : nullptr;
        if (address)
            address_.store(address);
    }
    return address;
}

void* LateAddress::get()
{
    if (void* const address = find())
        return address;
    const DWORD code = GetLastError();
    const std::wstring library = L"'" + std::wstring(library_.name()) + L"'";
    // Not throwOsError: its VFileNotFoundException means that the file of the call is missing. Here the DLL is.
    if (!library_.isLoaded())
        throw vosexception(code, L"LoadLibrary " + library, {name_});
    const std::wstring name(name_, name_ + strlen(name_));
    throw vosexception(code, L"GetProcAddress " + library + L" '" + name + L"'", {name_});
}
