#pragma once

namespace structured_exception {

/// The translated fault that the calling thread is unwinding. Set by cwrpexception only.
struct FaultInFlight
{
    const void* object = nullptr;  // the cwrpexception; null when there is none
    const void* address = nullptr; // the instruction that faulted
};
extern thread_local FaultInFlight faultInFlight;

} // namespace structured_exception
