#include "proof/runner/facts.h"

#include "proof/runner/process.h"
#include "runtime/failure/vosexception.h"
#include "runtime/text/code_page.h"

#include <sstream>

namespace {

constexpr DWORD listLimit = 60'000, factLimit = 600'000; // milliseconds

std::wstring quoted(const std::wstring& program, const std::string& arguments)
{
    return L"\"" + program + L"\" " + toWide(arguments, utf8CodePage);
}

/// The lines of a text, without line ends.
std::vector<std::string> linesOf(const std::string& text)
{
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line.substr(0, line.find_last_not_of('\r') + 1));
    return lines;
}

/// The text behind a line that ends in a word, up to the next line of the test framework.
std::string textBehind(const std::vector<std::string>& lines, const std::string& word)
{
    std::string text;
    bool isInside = false;
    for (const std::string& line : lines) {
        if (line.starts_with("[  "))
            isInside = false;
        if (isInside && !line.empty())
            text += (text.empty() ? "" : " | ") + line;
        if (line.ends_with(word) && text.empty())
            isInside = true;
    }
    return text;
}

} // namespace

std::vector<Fact> factsOf(const std::wstring& program)
{
    const ProcessResult list = runProcess(quoted(program, "--gtest_list_tests"), listLimit);
    std::vector<Fact> facts;
    std::string suite;
    for (const std::string& line : linesOf(list.output)) {
        const std::string name = line.substr(0, line.find("  #"));
        if (name.starts_with("  "))
            facts.push_back({program, suite + name.substr(2)});
        else if (name.ends_with("."))
            suite = name;
    }
    if (list.exitCode != 0 || facts.empty())
        throw vexception(program + L" does not list its tests: " + toWide(list.output, utf8CodePage), {"factsOf"});
    return facts;
}

FactResult readOutput(const std::string& output, bool isInTime, unsigned exitCode)
{
    const std::vector<std::string> lines = linesOf(output);
    FactResult result{Outcome::failed, textBehind(lines, ": Failure"), output, {}, 0};
    bool hasPassed = false, isSkipped = false;
    for (const std::string& line : lines) { // the test may have left the line before without an end
        hasPassed |= line.find("[       OK ] ") != std::string::npos;
        isSkipped |= line.find("[  SKIPPED ] ") != std::string::npos;
        if (line.starts_with("Figure: "))
            result.figures.push_back(line.substr(8));
    }
    if (!isInTime) {
        result.reason = "it did not end within " + std::to_string(factLimit / 1000) + " seconds";
    } else if (exitCode != 0) {
        if (result.reason.empty())
            result.reason = "its process ended with the code " + std::to_string(exitCode);
    } else if (isSkipped) {
        result.outcome = Outcome::skipped;
        result.reason = textBehind(lines, ": Skipped");
    } else if (hasPassed) {
        result.outcome = Outcome::passed;
    } else {
        result.reason = "its program ended without running it";
    }
    return result;
}

FactResult runFact(const Fact& fact)
{
    const ULONGLONG begun = GetTickCount64();
    FactResult result{Outcome::failed, {}, {}, {}, 0};
    try {
        const ProcessResult run =
            runProcess(quoted(fact.program, "--gtest_color=no --gtest_filter=" + fact.name), factLimit);
        result = readOutput(run.output, run.isInTime, run.exitCode);
    } catch (const vosexception& failure) {
        result.reason = "its program cannot be started (" + std::to_string(failure.code()) + ")";
    }
    result.milliseconds = static_cast<unsigned>(GetTickCount64() - begun);
    return result;
}
