// A DLL that ends the process that loads it: planted under the names of DLLs that the program loads.

#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID)
{
    constexpr UINT isLoaded = 77;
    if (reason == DLL_PROCESS_ATTACH)
        TerminateProcess(GetCurrentProcess(), isLoaded);
    return TRUE;
}
