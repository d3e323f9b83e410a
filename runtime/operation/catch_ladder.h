#pragma once

#include "runtime/failure/raise_site.h"
#include "runtime/operation/span.h"

#include <string>

/// The catch ladder, to be called inside a catch block: whatever is in flight leaves as a vexception whose
/// trail ends with the site and context. A vexception (or a class derived from it) goes on as itself;
/// anything else is replaced by a new one with its text, unless there is no memory for it: std::bad_alloc. The span
/// is tagged with the kind and the text.
[[noreturn]] void rethrowAsVexception(Span& span, const RaiseSite& site, const std::wstring& context);
