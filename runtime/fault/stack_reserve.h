#pragma once

namespace structured_exception {

/// Reserves a part of the calling thread's stack for translating, dumping and logging an overflow. Without the
/// reserve an overflow ends the process. Call once, near the start of the thread.
void reserveStack() noexcept;

/// Re-arms the calling thread's guard page after a caught overflow.
void restoreStack() noexcept;

} // namespace structured_exception
