#include "runtime/operation/span.h"

#include "runtime/text/code_page.h"

namespace {
ITracer* processTracer = nullptr; // weak
}

void setTracer(ITracer* tracer) noexcept
{
    processTracer = tracer;
}

Span::Span(const RaiseSite& site) noexcept
{
    if (!processTracer)
        return;
    try {
        span_ = processTracer->start(site);
    } catch (...) {
    }
}

void Span::fail(const std::wstring& text) noexcept
{
    if (!span_)
        return;
    try {
        span_->fail(toNarrow(text, ansiCodePage));
    } catch (...) {
    }
}

void Span::tag(const char* key, const std::wstring& value) noexcept
{
    if (!span_)
        return;
    try {
        span_->tag(key, toNarrow(value, ansiCodePage));
    } catch (...) {
    }
}
