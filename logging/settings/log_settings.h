#pragma once

#include "logging/settings/log_level.h"

#include <cstdint>

class ILogHandler;

// The log settings that the modules of the product in one process share. A module may be built with another compiler:
// the layout of these records is fixed, and their memory comes from the process heap. The order of the fields is the
// product's; that of the list, a ring with a sentinel, is the usual one of lists and a choice made here. A handler is
// called through the virtual table of this compiler, so it can only be shared with modules of the same compiler.

struct LogHandlerNode
{
    LogHandlerNode* next;
    LogHandlerNode* previous;
    ILogHandler* handler; // weak
};

/// The registered handlers in the order of registration: a ring that begins behind the sentinel and ends before it.
struct LogHandlerList
{
    LogHandlerNode* sentinel; // without a handler
    std::uint64_t count;

    /// An empty list. @throws std::bad_alloc
    static LogHandlerList create();

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
