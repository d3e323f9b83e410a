#include "proof/runner/report.h"

#include "runtime/failure/vexception.h"

#include <cstdio>
#include <sstream>

namespace {

constexpr std::size_t longestReason = 300; // on standard output

} // namespace

Report::Report(const std::wstring& file) : file_(file.c_str(), std::ios::binary | std::ios::trunc)
{
    if (!file_)
        throw vexception(L"The report " + file + L" cannot be written", {"Report::Report"});
}

void Report::note(const std::string& line)
{
    file_ << line << "\r\n" << std::flush; // kept also when the machine stops
}

void Report::tell(const std::string& line)
{
    note(line);
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

void Report::add(const Fact& fact, const FactResult& result)
{
    ++(result.outcome == Outcome::passed ? passed_ : result.outcome == Outcome::failed ? failed_ : skipped_);
    const char* const word = result.outcome == Outcome::passed   ? "passed  "
                             : result.outcome == Outcome::failed ? "FAILED  "
                                                                 : "skipped ";
    const std::string reason = result.reason.empty() ? "" : ": " + result.reason;
    const std::string line = word + fact.name;
    std::printf("%s%s\n", line.c_str(), reason.substr(0, longestReason).c_str());
    std::fflush(stdout);
    note(line + " (" + std::to_string(result.milliseconds) + " ms)" + reason);
    for (const std::string& figure : result.figures)
        note("    figure: " + figure);
    if (result.outcome != Outcome::failed)
        return;
    std::istringstream output(result.output);
    for (std::string text; std::getline(output, text);)
        note("    | " + text.substr(0, text.find_last_not_of('\r') + 1));
}

std::string Report::sum() const
{
    return std::to_string(passed_) + " passed, " + std::to_string(failed_) + " failed, " + std::to_string(skipped_) +
           " skipped";
}
