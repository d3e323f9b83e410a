#pragma once

#include "runtime/failure/raise_site.h"

#include <memory>
#include <string>

/// A span of the tracing library. Texts are in the ANSI code page.
class ISpan
{
public:
    virtual ~ISpan() = default;
    /// Records that the work failed. @param text  describes the call
    virtual void fail(const std::string& text) = 0;
    virtual void tag(const std::string& key, const std::string& value) = 0;
};

/// Collects spans. The program sets no tracer: the interface is the place for the panel's tracing library.
class ITracer
{
public:
    virtual ~ITracer() = default;
    /// Starts a span. The destructor of the returned object ends it. @return null when this work is not traced
    virtual std::unique_ptr<ISpan> start(const RaiseSite& site) = 0;
};

/// Sets the process's tracer; null, the default, for none. Not owned.
void setTracer(ITracer* tracer) noexcept;

/// A span for a scope; inactive without a tracer. Exceptions of the tracer are dropped, so that tracing never fails
/// the work.
class Span
{
public:
    explicit Span(const RaiseSite& site) noexcept;

    bool isActive() const noexcept { return span_ != nullptr; }
    void fail(const std::wstring& text) noexcept;
    void tag(const char* key, const std::wstring& value) noexcept;

private:
    std::unique_ptr<ISpan> span_;
};
