#pragma once

#include <json/value.h>

#include <string>

// Parsers for the output of the panel's utility "sysinfo". They never fail: an unreadable figure becomes 0.

/// The object {"last15min", "last1min", "last5min", "unit"}, made of three load figures, in percent, truncated.
Json::Value loadAverages(const std::wstring& output);

/// An object with one member per line "Name: number". The name is in lower case. Lines without a colon are skipped.
Json::Value namedNumbers(const std::wstring& output);
