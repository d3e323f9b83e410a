#include "devpanel/pipe_service.h"

#include "config/management_service/wire_format.h"
#include "config/pipe/client_pipe.h"
#include "config/pipe/server_pipe.h"
#include "devpanel/proof_guard.h"
#include "runtime/identity.h"
#include "runtime/module.h"

#include <sddl.h>

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

/// The service's end of the pipe.
class PanelPipe : public Con::ServerOverlappedPipe
{
public:
    using ServerOverlappedPipe::ServerOverlappedPipe;

    void create(const std::wstring& name, PipeSecurity security)
    {
        if (security == PipeSecurity::ofAdministrators || security == PipeSecurity::ofUser) {
            const bool isUsers = security == PipeSecurity::ofUser;
            return ServerOverlappedPipe::create(
                name, PIPE_ACCESS_DUPLEX, isUsers ? Owner::user : Owner::administrators);
        }
        SECURITY_ATTRIBUTES attributes{sizeof attributes, nullptr, FALSE};
        const std::wstring user = identity::currentUser().text();
        const std::wstring rights =
            L"O:" + user + L"D:P(A;;GA;;;SY)(A;;GA;;;BA)(A;;GA;;;" + user + L")(A;;GRGW;;;AU)";
        ConvertStringSecurityDescriptorToSecurityDescriptorW(
            rights.c_str(), SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr);
        const UniqueLocalMemory descriptor(attributes.lpSecurityDescriptor);
        constexpr DWORD bufferSize = 65'536;
        UniqueFile handle(CreateNamedPipeW(name.c_str(),
            PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE, PIPE_TYPE_BYTE, 1, bufferSize,
            bufferSize, 0, security == PipeSecurity::byDefault ? nullptr : &attributes));
        if (!handle)
            throwLastError({L"CreateNamedPipe"}, {"PanelPipe::create"});
        open(std::move(handle));
    }
};

} // namespace

void servePipe(DWORD silenceMilliseconds, const std::wstring& name, const PanelValues& values, PipeSecurity security,
    DWORD idleMilliseconds)
{
    checkVolumes(values.root, values.dumps);
    constexpr DWORD longestCommand = 600'000; // a client stays connected while it works
    PanelPipe pipe(longestCommand);
    try {
        pipe.create(pipes + name, security);
    } catch (const vexception&) {
        return;
    }
    while (pipe.connect(idleMilliseconds)) {
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
