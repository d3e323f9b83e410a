#include "repair/json_text.h"

#include "runtime/text.h"

#include <json/writer.h>

std::string jsonText(const std::wstring& text)
{
    return toNarrow(text, utf8CodePage);
}

std::wstring styledText(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["emitUTF8"] = true; // toStyledString would write \uXXXX for every letter outside ASCII
    return toWide(Json::writeString(builder, value) + "\n", utf8CodePage);
}
