#pragma once

#include <json/reader.h>

#include <sstream>
#include <string>

/// The value of a text that is one JSON document and nothing else; null otherwise.
inline Json::Value jsonDocument(const std::string& text)
{
    Json::CharReaderBuilder reader;
    Json::CharReaderBuilder::strictMode(&reader.settings_);
    std::istringstream in(text);
    Json::Value document;
    return Json::parseFromStream(reader, in, &document, nullptr) ? document : Json::Value();
}
