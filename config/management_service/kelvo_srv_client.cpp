#include "config/management_service/kelvo_srv_client.h"

#include "config/management_service/wire_format.h"
#include "config/product_config.h"
#include "runtime/operation/operation.h"
#include "runtime/text/format.h"
#include "runtime/text/mask.h"

namespace {

constexpr vpipechannel::Operation getStringOperation = {
    0xad3ebc3c, 0xe6b9, 0x4fcf, {0xab, 0xb9, 0xed, 0x1b, 0x3d, 0x52, 0x4f, 0x22}};

/// Frame of the client's operations: logs a failure and rethrows it.
template <typename Describe, typename Work>
decltype(auto) loggedOperation(IServiceLog& log, const Boundary& boundary, const Describe& describe, Work work)
{
    try {
        return operation(boundary, describe, work);
    } catch (const vexception& failure) {
        log.error(failure);
        throw;
    }
}

} // namespace

KelvoSrvClient::KelvoSrvClient(IServiceLog& log, DWORD timeoutMilliseconds)
    : channel_(L"zrmpipe", config::configKey, log, timeoutMilliseconds), log_(log)
{
}

KelvoSrvClient& KelvoSrvClient::getInstance(IServiceLog& log)
{
    KelvoSrvClient* const instance = loggedOperation(
        log, {"KelvoSrvClient::getInstance"}, [] { return std::wstring(L"Unable to call getInstance()"); },
        [&](Span&) {
            static KelvoSrvClient client(log);
            return &client;
        });
    return *instance;
}

std::wstring KelvoSrvClient::getString(const std::wstring& name)
{
    const auto describe = [&] { return formatString(L"Unable to call getString(%s)", maskArgument(name).c_str()); };
    return loggedOperation(log_, {"KelvoSrvClient::getString"}, describe, [&](Span&) {
        vserializer::writer arguments;
        arguments.text(name);
        const std::string reply = channel_.query(getStringOperation, arguments.message());
        return vserializer::reader(reply).text();
    });
}
