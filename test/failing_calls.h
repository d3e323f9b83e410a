#pragma once

#include <windows.h>

/// What a run with a failing call and the test that starts it tell each other: memory that both have, under the name
/// that stands in the environment.
struct FailingCall
{
    static constexpr wchar_t variable[] = L"MENDKIT_FAILING_CALL";

    LONG wanted;       ///< which of the possible failures happens, from 1; 0: none
    LONG calls;        ///< that could fail
    LONG possible;     ///< how many there were so far
    LONG handles;      ///< open at the end; 0: the process did not come to its end
    char function[64]; ///< whose call failed; empty: none did
    bool forEver;      ///< all calls of the function fail from then on
};
