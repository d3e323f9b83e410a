#pragma once

#include "config/management_service/iservice_log.h"
#include "config/management_service/vpipechannel.h"

#include <string>

/// The client of the panel's management service.
class KelvoSrvClient
{
public:
    /// @param log  must outlive the client
    /// @param timeoutMilliseconds  the longest wait for one pipe operation
    explicit KelvoSrvClient(IServiceLog& log, DWORD timeoutMilliseconds = Con::OverlappedPipe::defaultTimeout);

    /// The process's client, created at the first call.
    /// @param log  used by the first call only; must live as long as the process
    /// @throws vexception, already logged
    static KelvoSrvClient& getInstance(IServiceLog& log);

    /// Asks the service for a text by its name, such as "PRODUCT_ROOT_D".
    /// @throws vexception, already logged, when the query fails or the service replies with a failure
    std::wstring getString(const std::wstring& name);

private:
    vpipechannel::client channel_;
    IServiceLog& log_;
};
