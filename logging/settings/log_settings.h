#pragma once

#include "logging/settings/log_level.h"

#include <cstdint>

class ILogHandler;

// The process's log settings, shared by all modules of the product that are loaded into it. Such a module may
// come from another compiler, so these are plain records, field by field as every module knows them, and
// their memory is of the process heap.

struct LogHandlerNode
{
    LogHandlerNode* next;
    LogHandlerNode* previous;
    ILogHandler* handler; // weak
};

/// In the order of registration.
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
    bool consoleUsed; // something was written to standard output: a newline goes before the next record
};
