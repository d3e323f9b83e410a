#pragma once

#include "bench/stopwatch.h"

#include <cstdio>

/// Prints a row of the table. @param aim  for the ratio; a value below 1 is printed as "<1.00"
inline void print(const char* subject, const char* reference, const Comparison& result, double aim)
{
    std::printf("%-28s %9.0f us   %-30s %9.0f us   ratio %5.2f   aim %s%.2f\n", subject, result.subject, reference,
        result.reference, result.ratio(), aim < 1 ? "<" : "", aim < 1 ? 1.0 : aim);
    std::fflush(stdout);
}
