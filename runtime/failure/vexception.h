#pragma once

#include "runtime/failure/raise_site.h"

#include <string>
#include <vector>

/// One step on a failure's way up: where it passed, and what was being done there.
struct RaiseRecord
{
    RaiseSite site;
    /// What the site was doing, often a call with its (masked) arguments; may be empty.
    std::wstring context;
};

/// The program's exception: a message and the trail of places that it was raised at and passed.
/// Thrown by value, caught by reference. Deliberately no std::exception, so that catching one never hides
/// the trail of the other.
class vexception
{
public:
    explicit vexception(std::wstring message, RaiseSite site, std::wstring context = {});
    vexception(const vexception&) = default;
    vexception& operator=(const vexception&) = default;
    virtual ~vexception() = default;

    const std::wstring& message() const noexcept { return message_; }
    const std::vector<RaiseRecord>& trail() const noexcept { return trail_; }

    /// Adds a place to the end of the trail.
    void append(RaiseSite site, std::wstring context);

    /// The message and one line per place, oldest first: "\n   at (Class::method line N)", followed by a
    /// blank and the context where there is one.
    std::wstring fullText() const;

private:
    std::wstring message_;
    std::vector<RaiseRecord> trail_;
};
