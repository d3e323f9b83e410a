#include "config/management_service/vpipechannel.h"

#include "config/management_service/wire_format.h"
#include "config/product_config.h"
#include "config/registry.h"
#include "runtime/backoff.h"
#include "runtime/fault/cwrpexception.h"
#include "runtime/text/format.h"

#include <algorithm>
#include <new>

namespace vpipechannel {

namespace {

constexpr std::uint32_t longestReply = 16u << 20;

std::string messageOf(const Operation& operation, std::string_view arguments)
{
    vserializer::writer message;
    message.number(sizeof operation);
    message.bytes({reinterpret_cast<const char*>(&operation), sizeof operation});
    message.bytes(arguments);
    return message.message();
}

} // namespace

client::client(std::wstring pipeId, std::wstring configKey, IServiceLog& log, DWORD timeoutMilliseconds)
    : pipeId_(std::move(pipeId)), configKey_(std::move(configKey)), pipe_(timeoutMilliseconds), log_(log)
{
}

void client::connect()
{
    constexpr DWORD defaultTries = 10;
    const std::wstring name = registry::getstr(HKEY_LOCAL_MACHINE, configKey_, pipeId_, config::configView);
    try {
        pipe_.create(L"\\\\.\\pipe\\" + name, config::pipeConnectTryCount(defaultTries));
    } catch (const Con::PipeServerRefused& refused) {
        log_.warning(refused.reason());
        throw;
    }
}

void client::read(char* buffer, std::size_t size)
{
    while (size > 0) {
        const std::size_t bytes = pipe_.read(buffer, size);
        if (bytes == 0)
            throwOsError(ERROR_BROKEN_PIPE, L"Unable to read from pipe", {"vpipechannel::client::read"});
        buffer += bytes;
        size -= bytes;
    }
}

std::string client::exchange(const std::string& message)
{
    // Two writes: on a message-type pipe the server reads the length as a message of its own.
    const auto size = static_cast<std::uint32_t>(message.size());
    pipe_.write(&size, sizeof size);
    pipe_.write(message.data(), message.size());
    std::uint32_t length = 0;
    read(reinterpret_cast<char*>(&length), sizeof length);
    if (length > longestReply) {
        throw vserializer::invalidprotocol(
            L"Invalid Protocol when read C-string from serializer.", {"vpipechannel::client::exchange"});
    }
    // Grow with the bytes received; never trust the announced length.
    constexpr std::size_t step = 65'536;
    std::string reply;
    while (reply.size() < length) {
        const std::size_t have = reply.size(), part = std::min(step, length - have);
        reply.resize(have + part);
        read(reply.data() + have, part);
    }
    return reply;
}

void client::reportOrRethrow()
{
    try {
        throw;
    } catch (const vserializer::invalidprotocol&) { // a repeated query would get the same reply
        throw;
    } catch (const Con::PipeTimeout&) {
        throw;
    } catch (const vexception& failure) {
        const auto* const system = dynamic_cast<const vosexception*>(&failure);
        if (system && Con::isPipeFinished(system->code())) {
            log_.warning(L"Connection to Kelvo Management Service is broken: Pipe is finished");
            // The trail's name and line are part of the interface with the panel's log readers; do not correct.
            throw vexception(L"Pipe is finished", {"vpipechannel::client::query", 252});
        }
        log_.info(formatString(L"Kelvo Management service pipe communication error: %s. Trying to reconnect.",
            failure.fullText().c_str()));
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const cwrpexception&) { // a fault in this process, not in the connection
        throw;
    } catch (...) {
        log_.info(L"Kelvo Management service pipe unknown communication error. Trying to reconnect.");
    }
}

std::string client::query(const Operation& operation, std::string_view arguments)
{
    const std::lock_guard lock(mutex_);
    const std::string message = messageOf(operation, arguments);
    Backoff backoff(10, 1000);
    for (;; backoff.pause()) {
        if (!pipe_)
            connect();
        try {
            return exchange(message);
        } catch (...) {
            pipe_.close();
            reportOrRethrow();
        }
    }
}

} // namespace vpipechannel
