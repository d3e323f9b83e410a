#pragma once

#include "logging/log_manager.h"

#include <string>
#include <vector>

/// Records what is logged during its lifetime.
class RecordingHandler : public ILogHandler
{
public:
    struct Record
    {
        LogLevel level;
        std::wstring message;
    };

    RecordingHandler() { LogManager::addHandler(this); }
    ~RecordingHandler() override { LogManager::removeHandler(this); }
    using ILogHandler::log;
    void log(LogLevel level, const std::wstring& message) override { records.push_back({level, message}); }

    std::vector<Record> records;
};
