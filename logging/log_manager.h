#pragma once

#include "logging/ilog_handler.h"
#include "logging/settings/log_level.h"
#include "logging/settings/log_settings.h"
#include "logging/sink/event_log.h"
#include "runtime/failure/vexception.h"
#include "runtime/text/format.h"

#include <string>

/// Writes all records of the program: progress, the commands' answers, failures. The level of a record selects its
/// sinks: the debug log file, the Windows event log, standard output, the registered handlers. Logging never throws.
/// A failing sink does not affect the others.
class LogManager
{
public:
    /// @param format  printf-style; %s takes wide text. A format that the C runtime rejects logs nothing.
    template <typename... Args>
    static void log(LogLevel level, const wchar_t* format, Args... args) noexcept
    {
        try {
            instance().dispatch(level, formatString(format, args...), nullptr);
        } catch (...) {
            noteLost(level);
        }
    }

    /// Logs a Warning that administrators have to see: it is reported to the event log whatever the switches say.
    /// @param format  as log()
    template <typename... Args>
    static void logForAdministrators(const wchar_t* format, Args... args) noexcept
    {
        try {
            instance().dispatch(LogLevel::Warning, formatString(format, args...), nullptr, true);
        } catch (...) {
            noteLost(LogLevel::Warning);
        }
    }

    /// Logs the exception's full text; handlers get the exception itself.
    static void log(LogLevel level, const vexception& failure) noexcept;

    /// Keeps an Error until the next record and logs it before that one, as text: sinks and handlers do more than a
    /// handler of faults may.
    static void logLater(const vexception& failure) noexcept;

    /// Appends a handler, which is not owned. @throws std::bad_alloc
    static void addHandler(ILogHandler* handler);
    /// Removes every registration of the handler.
    static void removeHandler(ILogHandler* handler) noexcept;

    /// The level's name, "Info" to "Crash"; "Unknown level" for any other number.
    static const char* levelName(LogLevel level) noexcept;

    /// The setting `Debug` of the product's configuration.
    static bool isDebug() noexcept;

    /// The handle of the event source; the caller must not close it. Part of the product's logging interface; this
    /// program does not call it. @throws vexception when the source cannot be registered
    static HANDLE getEventLog();

    /// The switches and handlers, shared with the other modules of the process.
    static LogSettings& settings();

    /// Sets both switches of every level to their defaults.
    static void resetSettings();

    /// Whether records can be written: not while the log is being created, nor after its end.
    static bool isUsable() noexcept { return state_ == State::unused || state_ == State::ready; }

    /// Whether all records for standard output have been written so far.
    static bool isStandardOutputIntact() noexcept;

private:
    LogManager();
    ~LogManager();

    /// @throws vexception while the log is not usable
    static LogManager& instance();

    /// Marks standard output as incomplete if a record that could not be formatted was meant for it.
    static void noteLost(LogLevel level) noexcept;

    /// @param failure  the exception whose text the message is; null for a plain message
    /// @param always   whether the event log's switch is ignored
    void dispatch(LogLevel level, const std::wstring& message, const vexception* failure, bool always = false);
    void writeToStandardOutput(const std::wstring& message);

    EventLog eventLog_;
    std::wstring later_;    // the texts of logLater()
    LogSettings* settings_; // weak: owned by the shared context
    bool standardOutputIntact_ = true;

    enum class State
    {
        unused,
        starting,
        ready,
        ended
    };
    inline static State state_ = State::unused;
};
