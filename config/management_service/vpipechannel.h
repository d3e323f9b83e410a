#pragma once

#include "config/management_service/iservice_log.h"
#include "config/pipe/client_pipe.h"

#include <mutex>
#include <string>
#include <string_view>

namespace vpipechannel {

/// A 16-byte identifier of an operation, in its layout in memory.
using Operation = GUID;

/// Queries of a service over its named pipe. Connects when it needs to; one query at a time.
class client
{
public:
    /// @param pipeId     the registry value that holds the pipe's name
    /// @param configKey  its key below HKEY_LOCAL_MACHINE, in the 32-bit view
    /// @param timeoutMilliseconds  how long the service may keep silent
    client(std::wstring pipeId, std::wstring configKey, IServiceLog& log,
        DWORD timeoutMilliseconds = Con::OverlappedPipe::defaultTimeout);

    /// Sends an operation with its arguments. A disturbed connection is made anew and the query repeated.
    /// @return the bytes of the reply
    /// @throws vexception when the service cannot be reached, closes the pipe, keeps silent, or sends no valid reply
    std::string query(const Operation& operation, std::string_view arguments);

private:
    void connect();
    std::string exchange(const std::string& message);
    void read(char* buffer, std::size_t size);
    /// For the exception that is being handled: tells of it, or lets it out when a new connection would not mend it.
    void reportOrRethrow();

    std::wstring pipeId_;
    std::wstring configKey_;
    Con::ClientOverlappedPipe pipe_;
    IServiceLog& log_;
    std::mutex mutex_;
};

} // namespace vpipechannel
