#pragma once

/// From now on operator new, too, takes small blocks from the reserve when the system has no memory. The reserve
/// lasts for logging one failure: call this only before the process ends.
void openMemoryReserve() noexcept;
