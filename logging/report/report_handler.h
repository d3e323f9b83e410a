#pragma once

#include "logging/ilog_handler.h"
#include "logging/report/ireport_helpers.h"

#include <memory>
#include <string>
#include <unordered_map>

namespace SendErrorReport {

/// Sends severe records to the panel's reporting utility, each text at most once in 24 hours. The next report of a
/// text carries the number of its repeats. A failure drops the report and has no other effect.
class LogHandler : public ILogHandler
{
public:
    /// Registers with the log manager until destruction. Reports nothing if there is no memory to register.
    explicit LogHandler(std::shared_ptr<ISystemHelper> systemHelper) noexcept;
    LogHandler(const LogHandler&) = delete;
    LogHandler& operator=(const LogHandler&) = delete;
    ~LogHandler() override;

    using ILogHandler::log;
    /// Never throws and never logs.
    void log(LogLevel level, const std::wstring& message) override;

    /// The argument of the reporting utility.
    virtual std::wstring reportSource() const;

    /// The report, an XML document in UTF-8. Of a long message only the beginning and the end are reported: a summary
    /// has about 1,000 characters at most, message and ticket have 250,000.
    /// @param hits  how often the text was logged since its last report
    /// @throws vexception, _com_error
    virtual std::string buildReport(const std::wstring& message, std::uint32_t hits);

private:
    struct ReportRecord
    {
        VDateTime lastReported;
        std::uint32_t hits; // since lastReported, the reported record included
    };

    void send(const std::wstring& message);
    /// Counts the text. @return the hits to report; 0 when no report is due
    std::uint32_t count(const std::wstring& message);
    std::wstring component();
    bool readUpdateTicket(std::wstring& ticket);

    std::shared_ptr<ISystemHelper> systemHelper_;
    std::unordered_map<std::wstring, ReportRecord> reports_;
    bool busy_ = false; // a report is being sent
};

} // namespace SendErrorReport
