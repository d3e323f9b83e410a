#pragma once

#include "config/management_service/iservice_log.h"
#include "config/management_service/vpipechannel.h"

#include <string>

/// The panel's management service: the values that only it knows.
class KelvoSrvClient
{
public:
    /// @param timeoutMilliseconds  how long the service may keep silent
    explicit KelvoSrvClient(IServiceLog& log, DWORD timeoutMilliseconds = Con::OverlappedPipe::defaultTimeout);

    /// The process's client, made at the first call. @param log  of the first call; must live as long as the
    /// process
    static KelvoSrvClient& getInstance(IServiceLog& log);

    /// A text of the service by its name, such as "PRODUCT_ROOT_D".
    /// @throws vexception, already logged, when the service cannot be asked or answers with a failure
    std::wstring getString(const std::wstring& name);

private:
    vpipechannel::client channel_;
    IServiceLog& log_;
};
