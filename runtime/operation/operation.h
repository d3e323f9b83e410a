#pragma once

#include "runtime/failure/raise_site.h"
#include "runtime/fault/translator.h"
#include "runtime/operation/catch_ladder.h"
#include "runtime/operation/span.h"
#include "runtime/operation/thread_cancelation.h"

#include <string>
#include <utility>

namespace detail {

/// The first stage of a failure: its description, put on the span. A description that cannot be made (no
/// memory) must not replace the failure itself.
template <typename Describe>
std::wstring describeFailure(Span& span, const Describe& describe) noexcept
{
    try {
        std::wstring description = describe();
        span.fail(description);
        return description;
    } catch (...) {
        return {};
    }
}

} // namespace detail

/// What an operation is called: in the trail of its failures and as a span, which are mostly the same.
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

/// The frame of every operation at a boundary: a span named after the operation, the structured-exception
/// translator, a cancellation scope, and the catch ladder for whatever escapes the work.
/// @param boundary  the operation's qualified name and line
/// @param describe  makes the call's description, arguments masked; called only for a failure
/// @param work      called with the span; its result is the operation's
/// @throws vexception; std::bad_alloc where there is no memory left to make one
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

/// The frame of the operations that change the system: a traced one that came to its end also gets its
/// description as the text to show should the run be judged failed.
template <typename Describe, typename Work>
void changingOperation(const Boundary& boundary, const Describe& describe, Work&& work)
{
    operation(boundary, describe, [&](Span& span) {
        std::forward<Work>(work)();
        if (span.isActive())
            span.tag("if_error", describe());
    });
}
