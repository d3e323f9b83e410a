#include "bench/report.h"

#include <cstdio>

namespace {

std::FILE* countedRows = nullptr;

/// The requests of a row; zeros when it was not counted.
Comparison countsOf(const std::string& row)
{
    Comparison counts{};
    char name[128] = "";
    for (std::rewind(countedRows);
        std::fscanf(countedRows, "%lf %lf %127[^\r\n]", &counts.subject, &counts.reference, name) == 3;) {
        if (name == row)
            return counts;
    }
    return {};
}

void printCosts(const char* unit, const Comparison& costs, double aim)
{
    char text[16] = "";
    if (aim > 0)
        std::snprintf(text, sizeof text, " (aim %.2f)", aim);
    std::printf("   %s %8.1f / %8.1f = %4.2f%-11s", unit, costs.subject, costs.reference, costs.ratio(), text);
}

} // namespace

bool openCountedRows(const std::wstring& path)
{
    countedRows = _wfopen(path.c_str(), requests ? L"w" : L"r");
    return countedRows != nullptr;
}

void print(const char* subject, const char* reference, const Comparison& costs, double requestsAim, double timesAim)
{
    const std::string row = std::string(subject) + " / " + reference;
    if (requests) {
        std::fprintf(countedRows, "%.3f %.3f %s\n", costs.subject, costs.reference, row.c_str());
        std::fflush(countedRows);
        return;
    }
    if (!countedRows) {
        std::printf(
            "Figure: %s: %.1f / %.1f us = %.2f\n", row.c_str(), costs.subject, costs.reference, costs.ratio());
        std::fflush(stdout);
        return;
    }
    std::printf("%-62s", row.c_str());
    printCosts("requests", countsOf(row), requestsAim);
    printCosts("us", costs, timesAim);
    std::printf("\n");
    std::fflush(stdout);
}
