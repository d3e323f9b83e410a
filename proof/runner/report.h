#pragma once

#include "proof/runner/facts.h"

#include <fstream>

/// Prints one line for each fact, and writes the report file with all details. Lines end in CR LF; the text is UTF-8.
class Report
{
public:
    /// @throws vexception when the file cannot be written
    explicit Report(const std::wstring& file);

    /// A line of the report alone.
    void note(const std::string& line);

    /// A line of the report and of standard output.
    void tell(const std::string& line);

    void add(const Fact& fact, const FactResult& result);

    /// "N passed, N failed, N skipped".
    std::string sum() const;

    bool hasFailures() const { return failed_ > 0; }

private:
    std::ofstream file_;
    int passed_ = 0, failed_ = 0, skipped_ = 0;
};
