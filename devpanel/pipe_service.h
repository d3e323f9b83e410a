#pragma once

#include <windows.h>

#include <string>

// Stand-in for the panel's management service.

inline constexpr wchar_t panelRoot[] = L"C:\\Program Files\\Kelvo Panel";
inline constexpr wchar_t panelPipe[] = L"kelvo_devpanel";

/// Serves the pipe until no client has connected for some seconds. Returns at once when the pipe exists.
/// @param silenceMilliseconds  wait before each reply
/// @param name  of the pipe, which serves one client at a time
void servePipe(DWORD silenceMilliseconds, const std::wstring& name = panelPipe);

/// Starts the service unless it runs. It then runs for some seconds.
void ensurePipe();
