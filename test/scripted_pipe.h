#pragma once

#include "config/management_service/wire_format.h"
#include "runtime/handle/handles.h"
#include "test/privileges.h"

#include <sddl.h>

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

    /// @param security   owner and access list; empty: none, for which Wine names no owner
    /// @param instances  how many servers the pipe may have
    /// @param name       of a pipe that exists; empty: a new one
    explicit ScriptedPipe(Script script, bool messages = false, const std::wstring& security = trustedSecurity,
        DWORD instances = 1, const std::wstring& name = L"")
        : name_(name.empty() ? newName() : name),
          pipe_(create(messages, security, instances)),
          thread_([this, script = std::move(script)] { serve(script); })
    {
    }

    /// The administrators own it, and no other account may write.
    inline static const std::wstring trustedSecurity = L"O:BAD:P(A;;GA;;;SY)(A;;GA;;;BA)";

    ~ScriptedPipe()
    {
        // Ends the wait of a thread that has had no client.
        UniqueFile(
            CreateFileW((L"\\\\.\\pipe\\" + name_).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr))
            .reset();
        thread_.join();
    }

    explicit operator bool() const { return isMade_; }
    const std::wstring& name() const { return name_; }
    const std::string& received() const { return received_; }

private:
    void serve(const Script& script)
    {
        if (!ConnectNamedPipe(pipe_.get(), nullptr) && GetLastError() != ERROR_PIPE_CONNECTED)
            return;
        char buffer[4096];
        DWORD bytes = 0;
        // The length, then the message. A message that is longer than the buffer fails the read on a message-type
        // pipe.
        for (std::size_t size = sizeof(std::uint32_t); ReadFile(pipe_.get(), buffer, size, &bytes, nullptr);) {
            received_.append(buffer, bytes);
            if (received_.size() > sizeof(std::uint32_t))
                break;
            size = sizeof buffer;
        }
        Sleep(script.silence);
        for (const std::string& piece : script.reply) {
            const std::size_t step = script.pieceSize ? script.pieceSize : piece.size();
            for (std::size_t at = 0; at < piece.size(); at += step)
                WriteFile(pipe_.get(), piece.data() + at, static_cast<DWORD>(step), &bytes, nullptr);
        }
        pipe_.reset();
    }

    static std::wstring newName()
    {
        return L"mendkit_test_pipe_" + std::to_wstring(GetCurrentProcessId()) + L"_" + std::to_wstring(++count);
    }

    UniqueFile create(bool messages, const std::wstring& security, DWORD instances) const
    {
        SECURITY_ATTRIBUTES attributes{sizeof attributes, nullptr, FALSE};
        if (!security.empty()) {
            ConvertStringSecurityDescriptorToSecurityDescriptorW(
                security.c_str(), SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr);
        }
        const UniqueLocalMemory descriptor(attributes.lpSecurityDescriptor);
        const Privileges privileges; // to name another owner
        return UniqueFile(CreateNamedPipeW((L"\\\\.\\pipe\\" + name_).c_str(), PIPE_ACCESS_DUPLEX,
            messages ? PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE : PIPE_TYPE_BYTE, instances, 4096, 4096, 0,
            descriptor ? &attributes : nullptr));
    }

    inline static int count = 0;

    std::wstring name_;
    UniqueFile pipe_;
    const bool isMade_ = static_cast<bool>(pipe_);
    std::string received_;
    std::thread thread_;
};
