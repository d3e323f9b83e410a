// Libraries come from the system directory alone. Set before any other constructor of the program runs: the
// program's own directory and the caller's are places where others may be able to put a DLL of a known name.

#include <windows.h>

namespace {

constexpr int beforeAllOthers = 101; // the first priority that is not the compiler's own

__attribute__((constructor(beforeAllOthers))) void limitDllSearch()
{
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
}

} // namespace
