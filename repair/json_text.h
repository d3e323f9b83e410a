#pragma once

#include <json/value.h>

#include <string>

/// Wide text as JSON carries it (UTF-8). An unpaired surrogate becomes U+FFFD. @throws vosexception
std::string jsonText(const std::wstring& text);

/// A styled JSON document that ends with a line break, in the layout of Json::Value::toStyledString but with
/// letters outside ASCII as they are. @throws vosexception
std::wstring styledText(const Json::Value& value);
