#include "runtime/fault/fault_in_flight.h"

namespace structured_exception {

thread_local FaultInFlight faultInFlight;

} // namespace structured_exception
