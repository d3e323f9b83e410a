#pragma once

/// Lets the program's own memory come from the reserve as well, from now on, where the system has none left: small
/// blocks, as many as it takes to tell of a failure. For the last things that a process does.
void openMemoryReserve() noexcept;
