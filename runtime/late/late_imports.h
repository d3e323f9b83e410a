#pragma once

#include "runtime/late/late_function.h"

#include <windows.h>

#include <dbghelp.h>
#include <ole2.h>
#include <oleauto.h>
#include <pathcch.h>
#include <shlobj.h>
#include <shlwapi.h>

/// The functions that are bound late, each with its DLL. Call them as late::<function>.
#define MENDKIT_LATE_FUNCTIONS(X)                                                                                    \
    X(corePath, PathAllocCanonicalize)                                                                               \
    X(corePath, PathAllocCombine)                                                                                    \
    X(dbghelp, MiniDumpWriteDump)                                                                                    \
    X(ole32, CoCreateInstance)                                                                                       \
    X(ole32, CoInitializeEx)                                                                                         \
    X(ole32, CoUninitialize)                                                                                         \
    X(ole32, OleRun)                                                                                                 \
    X(oleaut32, SysAllocStringLen)                                                                                   \
    X(oleaut32, SysFreeString)                                                                                       \
    X(oleaut32, SysStringLen)                                                                                        \
    X(shell32, SHGetSpecialFolderPathW)                                                                              \
    X(shlwapi, PathStripToRootW)                                                                                     \
    X(user32, CloseDesktop)                                                                                          \
    X(user32, CloseWindowStation)                                                                                    \
    X(user32, GetProcessWindowStation)                                                                               \
    X(user32, OpenDesktopW)                                                                                          \
    X(user32, OpenWindowStationW)                                                                                    \
    X(user32, SetProcessWindowStation)

namespace late {

inline constinit LateLibrary corePath(L"api-ms-win-core-path-l1-1-0.dll"); // an API set
inline constinit LateLibrary dbghelp(L"dbghelp.dll");
inline constinit LateLibrary ole32(L"ole32.dll");
inline constinit LateLibrary oleaut32(L"oleaut32.dll");
inline constinit LateLibrary shell32(L"shell32.dll");
inline constinit LateLibrary shlwapi(L"shlwapi.dll");
inline constinit LateLibrary user32(L"user32.dll");

#define MENDKIT_DECLARE_LATE(library, function)                                                                      \
    inline constinit LateFunction<decltype(::function)> function(library, #function);
MENDKIT_LATE_FUNCTIONS(MENDKIT_DECLARE_LATE)
#undef MENDKIT_DECLARE_LATE

} // namespace late
