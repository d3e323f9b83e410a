#pragma once

namespace structured_exception {

/// Keeps a piece of the calling thread's stack back for the time after an overflow, in which it is translated, dumped
/// and logged. Without it an overflow ends the process. To be called once near the start of a thread.
void reserveStack() noexcept;

/// Makes the stack of the calling thread overflow in this way once more; to be called when an overflow has been
/// caught.
void restoreStack() noexcept;

} // namespace structured_exception
