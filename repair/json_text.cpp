#include "repair/json_text.h"

#include "runtime/text/code_page.h"

#include <json/writer.h>

#include <memory>
#include <sstream>

std::string jsonText(const std::wstring& text)
{
    return toNarrow(text, utf8CodePage);
}

std::wstring styledText(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["emitUTF8"] = true; // toStyledString writes \uXXXX for every letter outside ASCII
    const std::unique_ptr<Json::StreamWriter> writer(builder.newStreamWriter());
    std::ostringstream text;
    // Without exceptions, a stream that runs out of memory truncates the text silently.
    text.exceptions(std::ios::badbit);
    writer->write(value, &text);
    return toWide(text.str() + "\n", utf8CodePage);
}
