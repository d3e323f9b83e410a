#pragma once

#include <windows.h>

#include <algorithm>
#include <vector>

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

/// The medians of two calls that are measured alternately, so that the machine's load affects both.
struct Comparison
{
    double subject, reference; // microseconds

    template <typename Subject, typename Reference>
    static Comparison of(int rounds, Subject subject, Reference reference)
    {
        std::vector<double> subjects, references;
        for (int round = 0; round < rounds; ++round) {
            subjects.push_back(microseconds(subject));
            references.push_back(microseconds(reference));
        }
        return {median(subjects), median(references)};
    }

    double ratio() const { return subject / reference; }
};
