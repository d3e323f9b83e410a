#pragma once

#include <windows.h>

/// The memory that a run with a failing call shares with the test that starts it. An environment variable holds the
/// name of the section.
struct FailingCall
{
    static constexpr wchar_t variable[] = L"MENDKIT_FAILING_CALL";

    LONG wanted;       ///< the number of the failure that happens, from 1; 0: none
    LONG calls;        ///< the calls of functions that can fail
    LONG possible;     ///< the possible failures so far
    LONG before;       ///< the possible failures before the entry point
    LONG handles;      ///< the open handles at process exit; 0: the process was terminated
    char function[64]; ///< the function whose call failed; empty: none
    bool forEver;      ///< every later call of the function fails too
    LONG seed;         ///< which failures are drawn; 0: also those before the entry point
    LONG drawn[200];   ///< one failure of each function, drawn at random; 0: none
};
