#include "logging/log_manager.h"

#include "config/product_config.h"
#include "logging/settings/execute_context.h"
#include "logging/sink/log_file.h"
#include "logging/sink/log_lock.h"
#include "logging/sink/standard_output.h"
#include "runtime/text/code_page.h"

#include <string_view>
#include <utility>

namespace {

bool isOn(const bool (&switches)[logLevelCount], LogLevel level)
{
    const auto index = static_cast<std::size_t>(level);
    return index < logLevelCount && switches[index];
}

void setDefaults(LogSettings& settings)
{
    for (std::size_t index = 0; index < logLevelCount; ++index) {
        const auto level = static_cast<LogLevel>(index);
        settings.console[index] = level >= LogLevel::Result;
        settings.eventLog[index] = isSevere(level) || LogManager::isDebug();
    }
}

void writeToFile(LogLevel level, const std::wstring& message)
{
    const std::string_view name = LogManager::levelName(level);
    LogFile(L"debug", true).write(std::wstring(name.begin(), name.end()) + L": " + message);
}

void callHandlers(
    const LogHandlerList& handlers, LogLevel level, const std::wstring& message, const vexception* failure)
{
    for (const LogHandlerNode* node = handlers.sentinel->next; node != handlers.sentinel;) {
        ILogHandler* const handler = node->handler;
        node = node->next; // before the call: the handler may remove itself
        try {
            if (failure)
                handler->log(level, *failure);
            else
                handler->log(level, message);
        } catch (...) {
        }
    }
}

/// Calls one sink. Drops its failure, as logging it would recurse.
template <typename Sink>
void attempt(Sink sink) noexcept
{
    try {
        sink();
    } catch (...) {
    }
}

} // namespace

LogManager::LogManager()
{
    state_ = State::starting;
    try {
        bool created = false;
        settings_ = &ExecuteContext::settings(created);
        if (created)
            setDefaults(*settings_);
    } catch (...) {
        state_ = State::unused; // the next record tries again
        throw;
    }
    state_ = State::ready;
}

LogManager::~LogManager()
{
    state_ = State::ended;
}

LogManager& LogManager::instance()
{
    // A fault in the constructor, or in a static destructor that runs later. Within the constructor the line below
    // would wait for its own end.
    if (!isUsable())
        throw vexception(L"The log is not usable", {"LogManager::instance"});
    static LogManager manager;
    return manager;
}

void LogManager::log(LogLevel level, const vexception& failure) noexcept
{
    try {
        instance().dispatch(level, failure.fullText(), &failure);
    } catch (...) {
        noteLost(level);
    }
}

void LogManager::logLater(const vexception& failure) noexcept
{
    attempt([&] {
        std::wstring& later = instance().later_;
        later += (later.empty() ? L"" : L"\n") + failure.fullText();
    });
}

void LogManager::noteLost(LogLevel level) noexcept
{
    attempt([&] {
        LogManager& manager = instance();
        manager.standardOutputIntact_ = manager.standardOutputIntact_ && !isOn(manager.settings_->console, level);
    });
}

void LogManager::dispatch(LogLevel level, const std::wstring& message, const vexception* failure, bool always)
{
    if (!later_.empty())
        dispatch(LogLevel::Error, std::exchange(later_, {}), nullptr);
    if (isDebug() || isSevere(level))
        attempt([&] { writeToFile(level, message); });
    if (always || isOn(settings_->eventLog, level))
        attempt([&] { eventLog_.report(level, message); });
    if (isOn(settings_->console, level))
        writeToStandardOutput(message);
    callHandlers(settings_->handlers, level, message, failure);
    // Last, and each name once: this record needs the same mutexes.
    const std::wstring mutex = LogLock::takeGivenUp();
    if (!mutex.empty())
        logForAdministrators(L"Another account keeps the mutex '%s'. Records are written without it", mutex.c_str());
}

void LogManager::writeToStandardOutput(const std::wstring& message)
{
    bool written = false;
    attempt([&] {
        const std::string separator = settings_->consoleUsed ? "\n" : "";
        const std::string text = separator + toNarrow(message, utf8CodePage);
        settings_->consoleUsed = true;
        written = writeStandardOutput(text);
    });
    standardOutputIntact_ = standardOutputIntact_ && written;
}

void LogManager::addHandler(ILogHandler* handler)
{
    settings().handlers.append(handler);
}

void LogManager::removeHandler(ILogHandler* handler) noexcept
{
    attempt([&] { settings().handlers.remove(handler); });
}

const char* LogManager::levelName(LogLevel level) noexcept
{
    constexpr const char* names[logLevelCount] = {"Info", "Warning", "Result", "Error", "Unexpected", "Crash"};
    const auto index = static_cast<std::size_t>(level);
    return index < logLevelCount ? names[index] : "Unknown level";
}

bool LogManager::isDebug() noexcept
{
    return config::isDebug();
}

HANDLE LogManager::getEventLog()
{
    return instance().eventLog_.handle();
}

LogSettings& LogManager::settings()
{
    return *instance().settings_;
}

void LogManager::resetSettings()
{
    setDefaults(settings());
}

bool LogManager::isStandardOutputIntact() noexcept
{
    try {
        return instance().standardOutputIntact_;
    } catch (...) {
        return false;
    }
}
