#pragma once

#include "devpanel/panel_root.h"

#include <windows.h>

#include <string>

// The stand-in for the panel's management service.

inline constexpr wchar_t panelPipe[] = L"kelvo_devpanel";

/// What the service answers.
struct PanelValues
{
    std::wstring root = panelRoot();
    std::wstring dumps = root + L"\\var\\dumps";
};

/// Who owns the pipe, and who may use it besides SYSTEM, the administrators and the owner.
enum class PipeSecurity
{
    ofAdministrators, ///< they own it, nobody else may use it
    ofUser,           ///< the process's user owns it, nobody else may use it
    openToUsers,      ///< the process's user owns it, every user may read and write
    byDefault         ///< as the system makes it
};

/// Serves the pipe, one client at a time, until no client has connected for a while. Returns at once when another
/// process serves it.
/// @param silenceMilliseconds  the delay before each reply
/// @param name                 the pipe's name
/// @throws vexception when the kit of proof/ runs and the values name a directory on the system's volume
void servePipe(DWORD silenceMilliseconds, const std::wstring& name, const PanelValues& values,
    PipeSecurity security = PipeSecurity::ofAdministrators, DWORD idleMilliseconds = 5000);

/// Starts a process that serves the pipe unless there is one. It serves for at least five seconds from this call.
/// @throws vexception when it does not start
void ensurePipe();
