#pragma once

#include "runtime/text/code_page.h"
#include "runtime/text/command_line.h"
#include "test/child_process.h"

#include <fstream>

/// Skips a test under Wine, whose powershell.exe does nothing.
#define NEEDS_POWERSHELL() SKIP_UNDER_WINE("its powershell.exe does nothing")

/// A text as PowerShell reads it back.
inline std::wstring powershellLiteral(const std::wstring& text)
{
    std::wstring quoted = L"'";
    for (const wchar_t letter : text)
        quoted += letter == L'\'' ? L"''" : std::wstring(1, letter);
    return quoted + L"'";
}

/// Runs lines of Windows PowerShell 5.1; their output is UTF-8. They come from a script, because quotation marks
/// would not pass powershell.exe's own command line.
/// @param folder  where the script is written; it is the current directory of the lines
inline ChildResult runPowerShell(const std::wstring& folder, const std::wstring& lines)
{
    const std::wstring script = folder + L"\\lines.ps1";
    std::ofstream(script.c_str(), std::ios::binary) << toNarrow(
        L"\xfeff[Console]::OutputEncoding = New-Object Text.UTF8Encoding $false\r\nSet-Location -LiteralPath " +
            powershellLiteral(folder) + L"\r\n" + lines + L"\r\n",
        utf8CodePage);
    wchar_t powershell[MAX_PATH] = L"";
    ExpandEnvironmentStringsW(
        L"%SystemRoot%\\System32\\WindowsPowerShell\\v1.0\\powershell.exe", powershell, MAX_PATH);
    return runChild(powershell,
        L"-NoProfile -NonInteractive -InputFormat None -ExecutionPolicy Bypass -File " + quoteArgument(script));
}
