#pragma once

#include "config/management_service/iservice_log.h"
#include "config/pipe/client_pipe.h"

#include <mutex>
#include <string>
#include <string_view>

namespace vpipechannel {

/// The identifier of an operation; sent in its layout in memory.
using Operation = GUID;

/// Queries a service over its named pipe. Connects at the first query; one query at a time.
class client
{
public:
    /// @param pipeId     the registry value that holds the pipe's name
    /// @param configKey  its key below HKEY_LOCAL_MACHINE, in the 32-bit view
    /// @param log        must outlive this object
    /// @param timeoutMilliseconds  time-out of one read or write
    client(std::wstring pipeId, std::wstring configKey, IServiceLog& log,
        DWORD timeoutMilliseconds = Con::OverlappedPipe::defaultTimeout);

    /// Sends an operation with its arguments. After a communication error it reconnects and repeats the query.
    /// @return the bytes of the reply
    /// @throws vexception when the service cannot be reached or is not trusted, closes the pipe, does not answer in
    ///         time, or sends no valid reply
    std::string query(const Operation& operation, std::string_view arguments);

    /// Whether the answers of the last query hold only as far as the registry confirms them: identities that are not
    /// trusted may have answered.
    bool needsConfirmation() const noexcept { return pipe_.trust() == Con::PipeTrust::ifConfirmed; }

private:
    void connect();
    std::string exchange(const std::string& message);
    void read(char* buffer, std::size_t size);
    /// Call inside a catch block: logs the exception if a new connection may help, else rethrows it.
    void reportOrRethrow();

    std::wstring pipeId_;
    std::wstring configKey_;
    Con::ClientOverlappedPipe pipe_;
    IServiceLog& log_;
    std::mutex mutex_;
};

} // namespace vpipechannel
