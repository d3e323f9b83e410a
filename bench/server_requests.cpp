#include "bench/server_requests.h"

#include <cstdio>
#include <string_view>

ServerRequests::ServerRequests(const std::wstring& log)
    : log_(CreateFileW(
          log.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr))
{
    const double none = of([] {}), two = of([] { CloseHandle(CreateEventW(nullptr, FALSE, FALSE, nullptr)); });
    if (none != 0 || two != 2) {
        std::printf("the server's log shows %.0f and %.0f requests in place of 0 and 2\n", none, two);
        ExitProcess(1);
    }
}

void ServerRequests::begin()
{
    readOn();
    char own[16];
    std::snprintf(own, sizeof own, "%04lx", GetCurrentThreadId());
    threads_ = {own};
}

double ServerRequests::count()
{
    const std::string log = readOn();
    double requests = 0;
    for (std::size_t start = 0, end; (end = log.find('\n', start)) != std::string::npos; start = end + 1) {
        // A request is "<thread>: <name>( ... )", its answer "<thread>: <name>() = <code> { ... }".
        const std::string_view line(log.data() + start, end - start);
        const std::size_t colon = line.find(": ");
        if (colon == std::string_view::npos || !threads_.contains(std::string(line.substr(0, colon))))
            continue;
        constexpr std::string_view started = ": new_thread() = 0 { tid=", waited = ": get_async_result( ";
        if (line.substr(colon).starts_with(waited))
            requests -= 2; // itself, and two more requests "select" than a read that finds its bytes
        else if (line.ends_with(" )"))
            ++requests;
        else if (line.substr(colon).starts_with(started))
            threads_.emplace(line.substr(colon + started.size(), line.find(',') - colon - started.size()));
    }
    return requests;
}

/// The whole lines that were added since the last call.
std::string ServerRequests::readOn()
{
    std::string text = std::move(unfinishedLine_);
    char part[65536];
    for (DWORD bytes = 0; ReadFile(log_.get(), part, sizeof part, &bytes, nullptr) && bytes > 0;)
        text.append(part, bytes);
    const std::size_t whole = text.rfind('\n') + 1; // 0 when there is none
    unfinishedLine_ = text.substr(whole);
    text.resize(whole);
    return text;
}
