#pragma once

#include <windows.h>

#include <string>

// The stand-in for the panel's management service.

inline constexpr wchar_t panelRoot[] = L"C:\\Program Files\\Kelvo Panel";
inline constexpr wchar_t panelPipe[] = L"kelvo_devpanel";

/// What the service answers.
struct PanelValues
{
    std::wstring root = panelRoot;
    std::wstring dumps = std::wstring(panelRoot) + L"\\var\\dumps";
};

/// Serves the pipe until nobody has asked for some seconds. Returns at once when somebody else serves it.
/// @param silenceMilliseconds  before each reply
/// @param name  of the pipe, which serves one client at a time
void servePipe(DWORD silenceMilliseconds, const std::wstring& name, const PanelValues& values);

/// Makes sure that the pipe is served for the next seconds.
void ensurePipe();
