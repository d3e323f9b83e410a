#pragma once

#include "runtime/catch_ladder.h"
#include "runtime/raise_site.h"
#include "runtime/span.h"
#include "runtime/structured_exception.h"
#include "runtime/thread_cancelation.h"

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

/// The frame of every operation at a boundary: a span named after the operation, the structured-exception
/// translator, a cancellation scope, and the catch ladder for whatever escapes the work.
/// @param site      the operation's qualified name and line
/// @param describe  makes the call's description, arguments masked; called only for a failure
/// @param work      called with the span; its result is the operation's
/// @throws vexception only
template <typename Describe, typename Work>
auto operation(const RaiseSite& site, const Describe& describe, Work&& work)
{
    Span span(site);
    const structured_exception::TranslatorScope translator;
    try {
        const ThreadCancelation::CancelationPoint cancelation(1);
        return std::forward<Work>(work)(span);
    } catch (...) {
        const std::wstring description = detail::describeFailure(span, describe);
        rethrowAsVexception(span, site, description);
    }
}

/// The frame of the operations that change the system: a traced one that came to its end also gets its
/// description as the text to show should the run be judged failed.
template <typename Describe, typename Work>
void changingOperation(const RaiseSite& site, const Describe& describe, Work&& work)
{
    operation(site, describe, [&](Span& span) {
        std::forward<Work>(work)();
        if (span.isActive())
            span.tag("if_error", describe());
    });
}
