#include "runtime/failure/vexception.h"

#include <string_view>
#include <utility>

vexception::vexception(std::wstring message, RaiseSite site, std::wstring context) : message_(std::move(message))
{
    append(site, std::move(context));
}

void vexception::append(RaiseSite site, std::wstring context)
{
    trail_.push_back({site, std::move(context)});
}

std::wstring vexception::fullText() const
{
    std::wstring text = message_;
    for (const RaiseRecord& record : trail_) {
        const std::string_view function = record.site.function;
        text += L"\n   at (";
        text.append(function.begin(), function.end()); // function names are ASCII
        text += L" line " + std::to_wstring(record.site.line) + L")";
        if (!record.context.empty())
            text += L" " + record.context;
    }
    return text;
}
