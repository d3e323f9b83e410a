#pragma once

#include "runtime/failure/raise_site.h"
#include "runtime/operation/span.h"

#include <string>

/// The catch ladder. Call inside a catch block: rethrows the current exception as a vexception whose trail ends with
/// the site and context. A vexception keeps its class; any other exception is replaced by a vexception with its text.
/// Tags the span with the kind and the text.
/// @throws vexception; std::bad_alloc when there is no memory for one
[[noreturn]] void rethrowAsVexception(Span& span, const RaiseSite& site, const std::wstring& context);
