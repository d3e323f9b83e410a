#pragma once

/// Lets operator new take small blocks from the memory reserve when the system has no memory. The reserve is enough
/// to log one failure and is never refilled. Call only when the process is about to end.
void openMemoryReserve() noexcept;
