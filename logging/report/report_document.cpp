// The content of an error report.

#include "logging/report/report_handler.h"
#include "logging/report/xml_document.h"
#include "runtime/path.h"
#include "runtime/text/code_page.h"
#include "runtime/text/format.h"
#include "runtime/text/mask.h"

#include <algorithm>
#include <cwctype>

namespace SendErrorReport {

namespace {

/// The text's beginning and end if it has more characters than `longest`: a document of many megabytes takes seconds.
std::wstring shortened(const std::wstring& text, std::size_t longest)
{
    if (text.size() <= longest)
        return text;
    const std::size_t half = longest / 2;
    return text.substr(0, half) + L" [...] " + text.substr(text.size() - half);
}

/// The first non-empty line. Lines end in CR LF, those of a failure's trail in LF.
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

std::string LogHandler::buildReport(const std::wstring& message, std::uint32_t hits)
{
    constexpr std::size_t longestSummary = 1000, longestText = 250'000;
    Document document;
    const Document::Element error = document.append(nullptr, L"error", L"");
    for (const auto& [name, text] : std::initializer_list<std::pair<const wchar_t*, std::wstring>>{
             {L"source", reportSource()},
             {L"severity", L"error"},
             {L"datetime", systemHelper_->getUtcTimestamp()},
             {L"summary", shortened(firstLine(message), longestSummary)},
             {L"component", component()},
             {L"message", shortened(message, longestText)},
             {L"hits", std::to_wstring(hits)},
         })
        document.append(error.get(), name, text);
    const Document::Element info = document.append(error.get(), L"additional_info", L"");
    document.append(info.get(), L"command_line", maskCommandLine(systemHelper_->getCommandLine()));
    document.append(info.get(), L"processId", formatString(L"%d", systemHelper_->getProcessId()));
    document.append(info.get(), L"threadId", formatString(L"%d", systemHelper_->getThreadId()));
    std::wstring ticket;
    if (readUpdateTicket(ticket))
        document.append(info.get(), L"update_ticket", shortened(ticket, longestText));
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

/// @return false when there is no readable ticket: the report is sent without it
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
