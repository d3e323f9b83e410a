#pragma once

#include "test/child_process.h"

#include <io.h>

#include <cstdio>
#include <string>

/// The console of a process without a window, to which this process is attached. Its standard output is that console
/// during this object's lifetime.
class HiddenConsole
{
public:
    HiddenConsole()
    {
        holder_.path = builtProgram(L"devpanel\\devpanel.exe");
        holder_.arguments = L"hold";
        holder_.hideWindow = holder_.captureStdout = 1;
        startPatiently(holder_);
        char ready = 0;
        holder_.stdoutPipe.read(&ready, 1, 0); // it has its console now
        std::fflush(stdout);
        FreeConsole();
        if (!AttachConsole(holder_.processId))
            return;
        SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
        screen_.reset(CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
            &inherit, OPEN_EXISTING, 0, nullptr));
        SetStdHandle(STD_OUTPUT_HANDLE, screen_.get());
    }
    HiddenConsole(const HiddenConsole&) = delete;
    HiddenConsole& operator=(const HiddenConsole&) = delete;
    ~HiddenConsole()
    {
        FreeConsole();
        _dup2(own_, 1); // Wine closes the standard handles with the console; this also sets the handle again
        _close(own_);
        terminate(holder_);
    }

    explicit operator bool() const { return static_cast<bool>(screen_); }

    void clear() const
    {
        DWORD count = 0;
        FillConsoleOutputCharacterW(screen_.get(), L' ', 10'000, {0, 0}, &count);
        SetConsoleCursorPosition(screen_.get(), {0, 0});
    }

    /// The first lines of the screen, without blanks at their ends, each with a "|" behind it.
    std::wstring text(SHORT lines) const
    {
        CONSOLE_SCREEN_BUFFER_INFO info{};
        EXPECT_TRUE(GetConsoleScreenBufferInfo(screen_.get(), &info));
        std::wstring all;
        for (SHORT line = 0; line < lines; ++line) {
            std::wstring text(static_cast<std::size_t>(info.dwSize.X), L' ');
            DWORD count = 0;
            ReadConsoleOutputCharacterW(
                screen_.get(), text.data(), static_cast<DWORD>(text.size()), {0, line}, &count);
            all += text.substr(0, text.find_last_not_of(L' ') + 1) + L"|";
        }
        return all;
    }

private:
    vexecutil holder_;
    const int own_ = _dup(1); // the standard output before
    UniqueFile screen_;
};
