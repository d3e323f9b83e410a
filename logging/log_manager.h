#pragma once

#include "logging/ilog_handler.h"
#include "logging/settings/log_level.h"
#include "logging/settings/log_settings.h"
#include "logging/sink/event_log.h"
#include "runtime/failure/vexception.h"
#include "runtime/text/format.h"

#include <string>

/// The one way out for everything the program says: progress, answers, failures. The level of a record
/// decides which sinks get it: the debug log file, the Windows event log, standard output, the registered
/// handlers. Logging never throws, and a sink that fails costs no other sink its record.
class LogManager
{
public:
    /// @param format  printf-style, %s takes wide text; a format that the C runtime rejects logs nothing
    template <typename... Args>
    static void log(LogLevel level, const wchar_t* format, Args... args) noexcept
    {
        try {
            instance().dispatch(level, formatString(format, args...), nullptr);
        } catch (...) {
            noteLost(level);
        }
    }

    /// Logs the exception's full text; handlers get the exception itself.
    static void log(LogLevel level, const vexception& failure) noexcept;

    /// Registers a handler behind the others; it is not owned. @throws std::bad_alloc
    static void addHandler(ILogHandler* handler);
    /// Removes every registration of the handler.
    static void removeHandler(ILogHandler* handler) noexcept;

    /// "Info" to "Crash"; "Unknown level" for other numbers.
    static const char* levelName(LogLevel level) noexcept;

    /// The switch `Debug` of the product's configuration.
    static bool isDebug() noexcept;

    /// The event source's handle, not the caller's to close. @throws vexception when it cannot be registered
    static HANDLE getEventLog();

    /// The switches and handlers, shared with the other modules of the process.
    static LogSettings& settings();

    /// Sets both switches of every level to their defaults.
    static void resetSettings();

    /// False once a record for standard output could not be written.
    static bool isStandardOutputIntact() noexcept;

private:
    LogManager();
    ~LogManager();

    static LogManager& instance();

    /// Remembers that a record could not even be made: standard output misses it too.
    static void noteLost(LogLevel level) noexcept;

    /// @param failure  the exception that the message is the text of; null for a plain message
    void dispatch(LogLevel level, const std::wstring& message, const vexception* failure);
    void writeToStandardOutput(const std::wstring& message);

    EventLog eventLog_;
    LogSettings* settings_; // weak: the shared context's
    bool standardOutputIntact_ = true;

    inline static bool ended_ = false;
};
