#pragma once

#include "config/management_service/iservice_log.h"
#include "config/pipe/client_pipe.h"

#include <mutex>
#include <string>
#include <string_view>

namespace vpipechannel {

/// The identifier of an operation. It is sent in its memory layout, 16 bytes.
using Operation = GUID;

/// Sends queries to a service over its named pipe, one at a time. Connects at the first query.
class client
{
public:
    /// @param pipeId     the registry value that holds the pipe's name
    /// @param configKey  the key of that value, below HKEY_LOCAL_MACHINE in the 32-bit view
    /// @param log        must outlive the client
    /// @param timeoutMilliseconds  the longest wait for one pipe operation
    client(std::wstring pipeId, std::wstring configKey, IServiceLog& log, DWORD timeoutMilliseconds);

    /// Sends an operation with its encoded arguments. Connects again and repeats the query after failures that are
    /// not named below.
    /// @return the bytes of the reply
    /// @throws vexception when connecting fails, the service closes the pipe, an operation times out, or the reply is
    /// too long; std::bad_alloc; cwrpexception
    std::string query(const Operation& operation, std::string_view arguments);

private:
    void connect();
    std::string exchange(const std::string& message);
    void read(char* buffer, std::size_t size);
    /// Call inside a catch block: logs if a reconnect may help, else rethrows.
    void reportOrRethrow();

    std::wstring pipeId_;
    std::wstring configKey_;
    Con::ClientOverlappedPipe pipe_;
    IServiceLog& log_;
    std::mutex mutex_;
};

} // namespace vpipechannel
