#pragma once

#include "runtime/handle/handles.h"
#include "system/process/exec_pipe.h"

#include <string>

/// One child process: fill in the fields, then start it. Owns what it opens; a child that still runs when the
/// object goes away is left running.
class vexecutil
{
public:
    std::wstring arguments;               ///< handed to the child as they are
    std::int32_t hideWindow = 0;          ///< above 0: no console window
    const wchar_t* environment = nullptr; ///< a wide environment block, null for the parent's; not owned
    std::wstring path;             ///< of the executable, absolute; empty: `arguments` is the whole command line
    bool pipeStderr = false;       ///< a pipe for standard error
    bool stderrToStdout = false;   ///< standard error goes where standard output goes
    bool pipeStdin = false;        ///< a pipe for standard input
    bool captureStdout = false;    ///< a pipe for standard output
    bool inheritHandles = false;   ///< inherit all inheritable handles even when nothing is redirected
    std::wstring workingDirectory; ///< made the current directory, of this process too; empty: unchanged
    std::wstring stdinFile, stdoutFile, stderrFile; ///< bound to the standard handles; empty: none
    bool inheritDesktop = false;                    ///< false: "winsta0\default"
    bool suspended = false;                         ///< start it suspended

    ExecPipe stdinPipe, stdoutPipe, stderrPipe; ///< the parent's ends
    UniqueHandle process, thread;
    DWORD processId = 0, threadId = 0;

    /// Starts the child. Of the redirected handles just those reach it; the pipes that it got are closed here.
    /// @throws vosexception "CreateProcess '<command line>'" and the like
    void start();

    /// @return whether the child has ended within the time @throws vosexception "Lock object"
    bool waitForExit(DWORD timeoutMilliseconds) const;

    /// Ends the child if it still runs. Never throws.
    void terminate() const noexcept;

    /// 259 while the child runs. @throws vosexception "GetExitCodeProcess"
    std::uint32_t exitCode() const;
};
