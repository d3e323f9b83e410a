#pragma once

#include "config/pipe/server_pipe.h"
#include "devpanel/panel_root.h"

#include <string>

// The stand-in for the panel's management service.

inline constexpr wchar_t panelPipe[] = L"kelvo_devpanel";

/// What the service answers.
struct PanelValues
{
    std::wstring root = panelRoot();
    std::wstring dumps = root + L"\\var\\dumps";
};

/// Serves the pipe, one client at a time, until no client has connected for five seconds. Returns at once when
/// another process serves it.
/// @param silenceMilliseconds  the delay before each reply
/// @param name                 the pipe's name
/// @param owner                the pipe's owner
/// @throws vexception when the kit of proof/ runs and the values name a directory on the system's volume
void servePipe(DWORD silenceMilliseconds, const std::wstring& name, const PanelValues& values,
    Con::ServerOverlappedPipe::Owner owner = Con::ServerOverlappedPipe::Owner::administrators);

/// Starts a process that serves the pipe unless there is one. It serves for at least five seconds from this call.
/// @throws vexception when it does not start
void ensurePipe();
