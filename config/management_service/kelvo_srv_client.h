#pragma once

#include "config/management_service/iservice_log.h"
#include "config/management_service/vpipechannel.h"

#include <string>

/// Asks the panel's management service for its values.
class KelvoSrvClient
{
public:
    /// @param log  must outlive this object
    /// @param timeoutMilliseconds  time-out of one read or write
    explicit KelvoSrvClient(IServiceLog& log, DWORD timeoutMilliseconds = Con::OverlappedPipe::defaultTimeout);

    /// The process's client, made at the first call.
    /// @param log  used by the client from the first call on; must live as long as the process
    static KelvoSrvClient& getInstance(IServiceLog& log);

    /// Asks the service for a text by its name, such as "PRODUCT_ROOT_D".
    /// @throws vexception, already logged, when the query fails or the service replies with a failure
    std::wstring getString(const std::wstring& name);

    /// Whether the last answer holds only as far as the registry confirms it.
    bool needsConfirmation() const noexcept { return channel_.needsConfirmation(); }

private:
    vpipechannel::client channel_;
    IServiceLog& log_;
};
