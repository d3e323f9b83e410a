#pragma once

#include "runtime/failure/raise_site.h"

#include <string>
#include <vector>

/// One record of a failure's trail: a place that raised or rethrew it.
struct RaiseRecord
{
    RaiseSite site;
    /// What the site did, often a call with masked arguments; may be empty.
    std::wstring context;
};

/// The program's exception: a message and the trail of places that raised and rethrew it. Thrown by value, caught by
/// reference. Not derived from std::exception: a handler for that would lose the trail.
class vexception
{
public:
    explicit vexception(std::wstring message, RaiseSite site, std::wstring context = {});
    vexception(const vexception&) = default;
    vexception& operator=(const vexception&) = default;
    virtual ~vexception() = default;

    const std::wstring& message() const noexcept { return message_; }

    /// Appends a record to the trail.
    void append(RaiseSite site, std::wstring context);

    /// The message and one line per record, oldest first: "\n   at (Class::method line N)", then a blank and the
    /// context unless it is empty.
    std::wstring fullText() const;

private:
    std::wstring message_;
    std::vector<RaiseRecord> trail_;
};
