#include "logging/report/report_handler.h"

#include "logging/log_manager.h"
#include "logging/report/xml_document.h"
#include "runtime/fault/translator.h"
#include "runtime/path.h"
#include "runtime/text/code_page.h"
#include "runtime/text/command_line.h"
#include "runtime/text/format.h"
#include "runtime/text/mask.h"

#include <algorithm>
#include <cwctype>
#include <utility>

namespace SendErrorReport {

namespace {

/// The first line with anything in it; lines end in CR LF or, those of a failure's trail, in LF.
std::wstring firstLine(const std::wstring& message)
{
    const std::size_t begin = message.find_first_not_of(L"\r\n");
    if (begin == std::wstring::npos)
        return message;
    return message.substr(begin, message.find_first_of(L"\r\n", begin) - begin);
}

std::wstring trimmed(const std::wstring& text)
{
    const auto isSpace = [](wchar_t c) { return std::iswspace(c) != 0; };
    const auto begin = std::find_if_not(text.begin(), text.end(), isSpace);
    const auto end = std::find_if_not(text.rbegin(), std::make_reverse_iterator(begin), isSpace).base();
    return {begin, end};
}

} // namespace

LogHandler::LogHandler(std::shared_ptr<ISystemHelper> systemHelper) noexcept : systemHelper_(std::move(systemHelper))
{
    try {
        LogManager::addHandler(this);
    } catch (...) { // no memory: the command still runs
    }
}

LogHandler::~LogHandler()
{
    LogManager::removeHandler(this);
}

void LogHandler::log(LogLevel level, const std::wstring& message)
{
    // A record that comes up during a report is about this handler itself.
    if (!isSevere(level) || busy_)
        return;
    busy_ = true;
    const structured_exception::TranslatorScope translator; // also outside of every operation
    try {
        if (systemHelper_->isFeedbackEnabled(level, message))
            send(message);
    } catch (...) { // the record has reached the other sinks; logging from here would come back here
    }
    busy_ = false;
}

void LogHandler::send(const std::wstring& message)
{
    const std::uint32_t hits = count(message);
    if (hits == 0 || message.empty())
        return;
    const std::wstring utility = path::combine(systemHelper_->getProductRoot(), L"admin\\bin\\send-error-report.exe");
    // Before the document, which takes a hundred times longer: without the utility there is none.
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

std::string LogHandler::buildReport(const std::wstring& message, std::uint32_t hits)
{
    Document document;
    const Document::Element error = document.append(nullptr, L"error", L"");
    for (const auto& [name, text] : std::initializer_list<std::pair<const wchar_t*, std::wstring>>{
             {L"source", reportSource()},
             {L"severity", L"error"},
             {L"datetime", systemHelper_->getUtcTimestamp()},
             {L"summary", firstLine(message)},
             {L"component", component()},
             {L"message", message},
             {L"hits", std::to_wstring(hits)},
         })
        document.append(error.get(), name, text);
    const Document::Element info = document.append(error.get(), L"additional_info", L"");
    document.append(info.get(), L"command_line", maskCommandLine(systemHelper_->getCommandLine()));
    document.append(info.get(), L"processId", formatString(L"%d", systemHelper_->getProcessId()));
    document.append(info.get(), L"threadId", formatString(L"%d", systemHelper_->getThreadId()));
    std::wstring ticket;
    if (readUpdateTicket(ticket))
        document.append(info.get(), L"update_ticket", ticket);
    return document.xml();
}

std::wstring LogHandler::component()
{
    try {
        return std::wstring(path::fileTitle(systemHelper_->getModuleFileName()));
    } catch (...) {
        return L"Unknown";
    }
}

/// @return false when there is none; one that cannot be read must not cost the report
bool LogHandler::readUpdateTicket(std::wstring& ticket)
{
    try {
        const std::wstring file = path::combine(systemHelper_->getProductData(), L"var\\update_ticket");
        if (!systemHelper_->fileExists(file))
            return false;
        ticket = trimmed(toWide(systemHelper_->readFile(file), utf8CodePage));
        return true;
    } catch (...) {
        return false;
    }
}

} // namespace SendErrorReport
