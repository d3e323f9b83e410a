#pragma once

#include "logging/settings/log_level.h"

#include <cstdint>

class ILogHandler;

// The log settings that the modules of the product in one process share. A module may be built with another
// compiler: the layout of these records is fixed, and their memory comes from the process heap.

struct LogHandlerNode
{
    LogHandlerNode* next;
    LogHandlerNode* previous;
    ILogHandler* handler; // weak
};

/// The registered handlers in the order of registration.
struct LogHandlerList
{
    LogHandlerNode* first;
    LogHandlerNode* last;
    std::uint64_t count;

    /// @throws std::bad_alloc
    void append(ILogHandler* handler);
    /// Removes every entry of the handler.
    void remove(const ILogHandler* handler) noexcept;
};

struct LogSettings
{
    bool console[logLevelCount];  // write records of the level to standard output
    bool eventLog[logLevelCount]; // report records of the level to the event log
    LogHandlerList handlers;
    bool consoleUsed; // standard output has a record: a newline precedes the next one
};
