#pragma once

#include "bench/comparison.h"

#include <string>

/// Opens the file of counted rows: written in the pass that counts requests, else read. Without it a row is printed
/// as "Figure: ..." with its times. @return success
bool openCountedRows(const std::wstring& path);

/// Prints a row of the table with its requests and times. The pass that counts notes the row only.
/// @param requestsAim  what the subject's requests may be, as a multiple of the reference's; 0: no aim
/// @param timesAim     likewise for the times
void print(
    const char* subject, const char* reference, const Comparison& costs, double requestsAim, double timesAim = 0);
