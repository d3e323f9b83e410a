#pragma once

#include <string>
#include <vector>

/// A test of one of the kit's programs.
struct Fact
{
    std::wstring program; // full path
    std::string name;     // "Suite.Test"
};

enum class Outcome
{
    passed,
    failed,
    skipped
};

struct FactResult
{
    Outcome outcome;
    std::string reason; // of a failure or of a skipped fact; one line
    std::string output; // all that the test printed
    std::vector<std::string> figures;
    unsigned milliseconds;
};

/// The tests of a program, from its own list.
/// @throws vexception when the program does not list them
std::vector<Fact> factsOf(const std::wstring& program);

/// Runs a test in a process of its own.
FactResult runFact(const Fact& fact);

/// Reads what a test program printed for one test.
FactResult readOutput(const std::string& output, bool isInTime, unsigned exitCode);
