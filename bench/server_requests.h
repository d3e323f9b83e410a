#pragma once

#include "runtime/handle/handles.h"

#include <set>
#include <string>

/// Counts the requests to Wine's server. Other than times, they do not depend on the machine's load.
class ServerRequests
{
public:
    /// @param log  the standard error of a server that was started with --debug=1: a line for each request
    explicit ServerRequests(const std::wstring& log);

    /// The requests of the calling thread during a call, and of the threads and processes that it starts, directly or
    /// not. Those of services on its behalf are not counted: how their threads share the work differs from call to
    /// call. Of a read that waits for another process only those are counted that it needs without waiting.
    template <typename Call>
    double of(Call call)
    {
        begin();
        call();
        return count();
    }

private:
    void begin();
    double count();
    std::string readOn();

    UniqueFile log_;
    std::string unfinishedLine_;
    std::set<std::string> threads_; // their ids as the log writes them
};
