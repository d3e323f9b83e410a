#pragma once

namespace structured_exception {

/// The translated fault that is on its way up the calling thread's stack: the exception object and the
/// instruction that faulted. For cwrpexception and the unwinding alone.
struct FaultInFlight
{
    const void* object = nullptr;
    const void* address = nullptr;
};
extern thread_local FaultInFlight faultInFlight;

} // namespace structured_exception
