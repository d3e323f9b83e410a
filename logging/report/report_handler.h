#pragma once

#include "logging/ilog_handler.h"
#include "logging/report/ireport_helpers.h"

#include <memory>
#include <string>
#include <unordered_map>

namespace SendErrorReport {

/// Hands every severe record to the panel's reporting utility, each text at most once a day; what comes in between is
/// counted, and the count travels with the next report. Whatever fails on the way costs the report and nothing else.
class LogHandler : public ILogHandler
{
public:
    /// Registers with the log manager until destruction; without memory for that, nothing is reported.
    explicit LogHandler(std::shared_ptr<ISystemHelper> systemHelper) noexcept;
    LogHandler(const LogHandler&) = delete;
    LogHandler& operator=(const LogHandler&) = delete;
    ~LogHandler() override;

    using ILogHandler::log;
    /// Never throws and never logs.
    void log(LogLevel level, const std::wstring& message) override;

    /// Who reports: the reporting utility's argument.
    virtual std::wstring reportSource() const;

    /// The report, an XML document in UTF-8. @param hits  how often the text came up since its last report
    /// @throws vexception, _com_error
    virtual std::string buildReport(const std::wstring& message, std::uint32_t hits);

private:
    struct ReportRecord
    {
        VDateTime lastReported;
        std::uint32_t hits; // since then, that one included
    };

    void send(const std::wstring& message);
    /// Counts the text. @return the hits to report, 0: it is not its time
    std::uint32_t count(const std::wstring& message);
    std::wstring component();
    bool readUpdateTicket(std::wstring& ticket);

    std::shared_ptr<ISystemHelper> systemHelper_;
    std::unordered_map<std::wstring, ReportRecord> reports_;
    bool busy_ = false; // with a report
};

} // namespace SendErrorReport
