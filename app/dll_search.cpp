// Limits the search for DLLs to the system directory: other users may be able to plant a DLL in the program's or the
// current directory. Runs before every other constructor.

#include <windows.h>

namespace {

constexpr int beforeAllOthers = 101; // lower priorities are reserved for the compiler

__attribute__((constructor(beforeAllOthers))) void limitDllSearch()
{
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
}

} // namespace
