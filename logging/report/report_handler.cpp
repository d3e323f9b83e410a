#include "logging/report/report_handler.h"

#include "logging/log_manager.h"
#include "runtime/fault/translator.h"
#include "runtime/path.h"
#include "runtime/text/command_line.h"

#include <algorithm>
#include <utility>

namespace SendErrorReport {

LogHandler::LogHandler(std::shared_ptr<ISystemHelper> systemHelper) noexcept : systemHelper_(std::move(systemHelper))
{
    try {
        LogManager::addHandler(this);
    } catch (...) { // no memory: the command runs without reports
    }
}

LogHandler::~LogHandler()
{
    LogManager::removeHandler(this);
}

void LogHandler::log(LogLevel level, const std::wstring& message)
{
    // A record logged during a report comes from the reporting itself.
    if (!isSevere(level) || busy_)
        return;
    busy_ = true;
    const structured_exception::TranslatorScope translator; // an operation sets one, but this may run outside
    try {
        if (systemHelper_->isFeedbackEnabled(level, message))
            send(message);
    } catch (...) { // not logged: that would call this handler again
    }
    busy_ = false;
}

void LogHandler::send(const std::wstring& message)
{
    const std::uint32_t hits = count(message);
    if (hits == 0 || message.empty())
        return;
    const std::wstring utility = path::combine(systemHelper_->getProductRoot(), L"admin\\bin\\send-error-report.exe");
    // First, because this fails at once when the utility is missing. Building the report takes a hundred times
    // longer.
    const auto process = systemHelper_->createProcess(quoteArgument(utility) + L" " + reportSource());
    const std::string report = buildReport(message, hits);
    process->start();
    process->writeInput(report);
}

std::uint32_t LogHandler::count(const std::wstring& message)
{
    constexpr std::int64_t ticksPerSecond = 10'000'000, secondsPerHour = 3600, interval = 24;
    constexpr std::size_t mostTexts = 100;
    const VDateTime now = systemHelper_->getLocalTime();
    const auto [at, isNew] = reports_.try_emplace(message, ReportRecord{now, 1});
    if (isNew) {
        if (reports_.size() > mostTexts) {
            reports_.erase(std::min_element(reports_.begin(), reports_.end(), [](const auto& one, const auto& other) {
                return one.second.lastReported < other.second.lastReported;
            }));
        }
        return 1;
    }
    ReportRecord& record = at->second;
    ++record.hits;
    if ((now - record.lastReported) / ticksPerSecond / secondsPerHour < interval)
        return 0;
    record.lastReported = now;
    return std::exchange(record.hits, 1);
}

std::wstring LogHandler::reportSource() const
{
    return L"backend";
}

} // namespace SendErrorReport
