#pragma once

#include "config/management_service/wire_format.h"
#include "runtime/handle/handles.h"

#include <string>
#include <thread>
#include <vector>

/// A reply of the management service: the length, then the bytes.
inline std::string serviceReply(const std::string& bytes)
{
    vserializer::writer writer;
    writer.number(static_cast<std::uint32_t>(bytes.size()));
    return writer.message() + bytes;
}

/// A pipe with a thread that serves one client by a script.
class ScriptedPipe
{
public:
    struct Script
    {
        std::vector<std::string> reply; // the pieces written after the request, before the pipe is closed
        std::size_t pieceSize = 0;      // the size into which pieces are cut; 0: not cut
        DWORD silence = 0;              // milliseconds before the reply
    };

    explicit ScriptedPipe(Script script, bool messages = false)
        : name_(L"mendkit_test_pipe_" + std::to_wstring(GetCurrentProcessId()) + L"_" + std::to_wstring(++count)),
          pipe_(CreateNamedPipeW((L"\\\\.\\pipe\\" + name_).c_str(), PIPE_ACCESS_DUPLEX,
              messages ? PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE : PIPE_TYPE_BYTE, 1, 4096, 4096, 0, nullptr)),
          thread_([this, script = std::move(script)] { serve(script); })
    {
    }

    ~ScriptedPipe()
    {
        // Ends the wait of a thread that has had no client.
        UniqueFile(
            CreateFileW((L"\\\\.\\pipe\\" + name_).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr))
            .reset();
        thread_.join();
    }

    const std::wstring& name() const { return name_; }
    const std::string& received() const { return received_; }

private:
    void serve(const Script& script)
    {
        if (!ConnectNamedPipe(pipe_.get(), nullptr) && GetLastError() != ERROR_PIPE_CONNECTED)
            return;
        char buffer[4096];
        DWORD bytes = 0;
        ReadFile(pipe_.get(), buffer, sizeof buffer, &bytes, nullptr);
        received_.assign(buffer, bytes);
        Sleep(script.silence);
        for (const std::string& piece : script.reply) {
            const std::size_t step = script.pieceSize ? script.pieceSize : piece.size();
            for (std::size_t at = 0; at < piece.size(); at += step)
                WriteFile(pipe_.get(), piece.data() + at, static_cast<DWORD>(step), &bytes, nullptr);
        }
        pipe_.reset();
    }

    inline static int count = 0;

    std::wstring name_;
    UniqueFile pipe_;
    std::string received_;
    std::thread thread_;
};
