#pragma once

#include <json/value.h>

#include <string>

/// Converts a text to UTF-8 for a JSON value. An unpaired surrogate becomes U+FFFD. @throws vosexception
std::string jsonText(const std::wstring& text);

/// The styled JSON document of a value, ended by a line break. The layout is that of Json::Value::toStyledString, but
/// letters outside ASCII are not escaped. @throws vosexception
std::wstring styledText(const Json::Value& value);
