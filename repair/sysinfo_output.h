#pragma once

#include <json/value.h>

#include <string>

// What the panel's "sysinfo" utility prints. Nothing in it is an error: what cannot be read is 0.

/// {"last15min", "last1min", "last5min", "unit"} of three load figures: percent, truncated.
Json::Value loadAverages(const std::wstring& output);

/// One member per line "Name: number", its name in lower case; lines without a colon are passed over.
Json::Value namedNumbers(const std::wstring& output);
