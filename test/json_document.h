#pragma once

#include <json/reader.h>

#include <sstream>
#include <string>

/// Parses a text that is exactly one JSON document. @return its value; null for another text
inline Json::Value jsonDocument(const std::string& text)
{
    Json::CharReaderBuilder reader;
    Json::CharReaderBuilder::strictMode(&reader.settings_);
    std::istringstream in(text);
    Json::Value document;
    return Json::parseFromStream(reader, in, &document, nullptr) ? document : Json::Value();
}
