#pragma once

#include "runtime/failure/raise_site.h"

#include <memory>
#include <string>

/// One traced stretch of work. Texts are narrow, in the ANSI code page.
class ISpan
{
public:
    virtual ~ISpan() = default;
    /// What was being done, recorded when it failed.
    virtual void fail(const std::string& text) = 0;
    virtual void tag(const std::string& key, const std::string& value) = 0;
};

/// Whoever collects spans.
class ITracer
{
public:
    virtual ~ITracer() = default;
    /// Starts a span; destroying it closes it. Null: this stretch is not traced.
    virtual std::unique_ptr<ISpan> start(const RaiseSite& site) = 0;
};

/// Sets the process's tracer, null (the default) for none. It is not owned.
void setTracer(ITracer* tracer) noexcept;

/// A span for the life of a scope. Without a tracer it is inactive and costs nothing. Tracing never fails the
/// work it watches: what the tracer throws is dropped.
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
