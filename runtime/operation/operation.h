#pragma once

#include "runtime/failure/raise_site.h"
#include "runtime/fault/translator.h"
#include "runtime/operation/catch_ladder.h"
#include "runtime/operation/span.h"
#include "runtime/operation/thread_cancelation.h"

#include <string>
#include <utility>

namespace detail {

/// Makes the description of a failed call and puts it on the span. @return empty when it cannot be made (no memory)
template <typename Describe>
std::wstring describeFailure(Span& span, const Describe& describe) noexcept
{
    try {
        std::wstring description = describe();
        span.fail(description);
        return description;
    } catch (...) {
        return {}; // the failure of the call must not be replaced
    }
}

} // namespace detail

/// The name and line of an operation: `site` in the trail of a failure, `spanSite` on its span. They are equal,
/// except where the interface with the panel's log readers fixes two lines.
struct Boundary
{
    RaiseSite site;
    RaiseSite spanSite;

    // Implicit, so that an operation reads operation({"Params::check"}, ...).
    Boundary(const char* function, std::source_location where = std::source_location::current()) noexcept
        : site(function, where), spanSite(site)
    {
    }
    Boundary(const char* function, std::uint_least32_t line) noexcept : site(function, line), spanSite(site) {}
    Boundary(RaiseSite site_, RaiseSite spanSite_) noexcept : site(site_), spanSite(spanSite_) {}
};

/// The frame of every operation at a boundary: runs the work in a span, with the structured-exception translator, a
/// cancellation scope and the catch ladder.
/// @param boundary  the operation's qualified name and line
/// @param describe  makes the description of the call, arguments masked; called only for a failure
/// @param work      called with the span; its result is returned
/// @throws vexception; std::bad_alloc when there is no memory for one
template <typename Describe, typename Work>
auto operation(const Boundary& boundary, const Describe& describe, Work&& work)
{
    Span span(boundary.spanSite);
    const structured_exception::TranslatorScope translator;
    try {
        const ThreadCancelation::CancelationPoint cancelation(1);
        return std::forward<Work>(work)(span);
    } catch (...) {
        const std::wstring description = detail::describeFailure(span, describe);
        rethrowAsVexception(span, boundary.site, description);
    }
}

/// The frame of an operation that changes the system. After success it also tags an active span with the description,
/// for trace viewers that mark the run as failed.
template <typename Describe, typename Work>
void changingOperation(const Boundary& boundary, const Describe& describe, Work&& work)
{
    operation(boundary, describe, [&](Span& span) {
        std::forward<Work>(work)();
        if (span.isActive())
            span.tag("if_error", describe());
    });
}
