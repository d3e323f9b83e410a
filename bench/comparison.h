#pragma once

#include "bench/server_requests.h"

#include <windows.h>

#include <algorithm>
#include <optional>
#include <vector>

/// Set in the pass that counts requests; the other pass measures times.
inline std::optional<ServerRequests> requests;

/// The duration of a call in microseconds.
template <typename Call>
double microseconds(Call call)
{
    LARGE_INTEGER frequency, start, end;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&start);
    call();
    QueryPerformanceCounter(&end);
    return 1e6 * static_cast<double>(end.QuadPart - start.QuadPart) / static_cast<double>(frequency.QuadPart);
}

inline double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

/// The costs of two calls: requests or microseconds, whatever this pass measures.
struct Comparison
{
    double subject, reference;

    /// The medians of calls that are measured alternately, so that the machine's load affects both.
    /// @param rounds  for times; requests hardly differ
    template <typename Subject, typename Reference>
    static Comparison of(int rounds, Subject subject, Reference reference)
    {
        constexpr int counted = 5;
        std::vector<double> subjects, references;
        for (int round = 0; round < (requests ? counted : rounds); ++round) {
            subjects.push_back(requests ? requests->of(subject) : microseconds(subject));
            references.push_back(requests ? requests->of(reference) : microseconds(reference));
        }
        return {median(subjects), median(references)};
    }

    double ratio() const { return subject / reference; }
};
