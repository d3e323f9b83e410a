#include "devpanel/pipe_service.h"

#include "config/management_service/wire_format.h"
#include "config/pipe/client_pipe.h"
#include "devpanel/proof_guard.h"
#include "runtime/module.h"

#include <string>

namespace {

const std::wstring pipes = L"\\\\.\\pipe\\";

/// Reads a length and a message of that length. @return the message; empty when the client has closed the pipe
std::string readMessage(Con::OverlappedPipe& pipe)
{
    const auto readExactly = [&](char* at, std::size_t size) {
        while (size > 0) {
            const std::size_t count = pipe.read(at, size);
            if (count == 0)
                return false;
            at += count;
            size -= count;
        }
        return true;
    };
    std::uint32_t length = 0;
    std::string message;
    if (!readExactly(reinterpret_cast<char*>(&length), sizeof length) || length > 65'536)
        return message;
    message.resize(length);
    return readExactly(message.data(), length) ? message : std::string();
}

std::string replyTo(const std::string& message, const PanelValues& values)
{
    constexpr std::size_t operationSize = 20;
    vserializer::writer body, reply;
    const std::wstring name = vserializer::reader(std::string_view(message).substr(operationSize)).text();
    if (name == L"PRODUCT_ROOT_D") {
        body.text(values.root);
    } else if (name == L"DumpTempDir") {
        body.text(values.dumps);
    } else {
        body.number(0xffffffff);
        body.text(L"No such value: " + name);
    }
    reply.number(static_cast<std::uint32_t>(body.message().size()));
    reply.bytes(body.message());
    return reply.message();
}

} // namespace

void servePipe(DWORD silenceMilliseconds, const std::wstring& name, const PanelValues& values,
    Con::ServerOverlappedPipe::Owner owner)
{
    checkVolumes(values.root, values.dumps);
    constexpr DWORD idle = 5000, longestCommand = 600'000; // a client stays connected while it works
    Con::ServerOverlappedPipe pipe(longestCommand);
    try {
        pipe.create(pipes + name, PIPE_ACCESS_DUPLEX, owner);
    } catch (const vexception&) {
        return;
    }
    while (pipe.connect(idle)) {
        try {
            for (std::string message = readMessage(pipe); !message.empty(); message = readMessage(pipe)) {
                const std::string reply = replyTo(message, values);
                Sleep(silenceMilliseconds);
                pipe.write(reply.data(), reply.size());
            }
        } catch (const vexception&) { // ends this client's connection only
        }
        pipe.disconnect();
    }
}

void ensurePipe()
{
    Con::ClientOverlappedPipe client;
    bool started = false;
    for (int attempt = 0; attempt < 500; ++attempt) {
        try {
            client.create(pipes + panelPipe, 10); // a connection restarts the service's idle time
            return;
        } catch (const vexception&) {
        }
        if (!started) {
            STARTUPINFOW startup{};
            startup.cb = sizeof startup;
            PROCESS_INFORMATION process{};
            std::wstring commandLine = L"\"" + moduleFileName() + L"\" serve";
            if (!CreateProcessW(moduleFileName().c_str(), commandLine.data(), nullptr, nullptr, FALSE,
                    DETACHED_PROCESS, nullptr, nullptr, &startup, &process))
                throwOsError(GetLastError(), L"CreateProcess", {"ensurePipe"});
            CloseHandle(process.hThread);
            CloseHandle(process.hProcess);
            started = true;
        }
        Sleep(10);
    }
    throw vexception(L"The management service does not start", {"ensurePipe"});
}
