#pragma once

#include "runtime/handle/handles.h"
#include "system/process/exec_pipe.h"

#include <string>

/// One child process: set the fields, then start it. Owns the handles; its destruction does not end the child.
class vexecutil
{
public:
    std::wstring arguments;               ///< passed to the child unchanged
    std::int32_t hideWindow = 0;          ///< above 0: no console window
    const wchar_t* environment = nullptr; ///< a wide environment block, null for the parent's; not owned
    std::wstring path;           ///< of the executable, absolute; empty: `arguments` is the whole command line
    bool pipeStderr = false;     ///< a pipe for standard error
    bool stderrToStdout = false; ///< standard error is a duplicate of standard output
    bool pipeStdin = false;      ///< a pipe for standard input
    bool captureStdout = false;  ///< a pipe for standard output
    bool inheritHandles = false; ///< inherit all inheritable handles even when nothing is redirected
    std::wstring
        workingDirectory; ///< becomes the current directory of this process and so of the child; empty: unchanged
    std::wstring stdinFile, stdoutFile, stderrFile; ///< bound to the standard handles; empty: none
    bool inheritDesktop = false;                    ///< false: "winsta0\default"
    bool suspended = false;                         ///< start with CREATE_SUSPENDED

    ExecPipe stdinPipe, stdoutPipe, stderrPipe; ///< the parent's ends
    UniqueHandle process, thread;
    DWORD processId = 0, threadId = 0;

    /// Starts the child. It inherits its standard handles only, unless inheritHandles is set. Closes the child's ends
    /// of the pipes in this process.
    /// @throws vosexception "CreateProcess '<command line>'" and the like
    void start();

    /// @return whether the child ended within the time
    /// @throws vosexception "Lock object"
    bool waitForExit(DWORD timeoutMilliseconds) const;

    /// The exit code; 259 while the child runs. @throws vosexception "GetExitCodeProcess"
    std::uint32_t exitCode() const;
};
