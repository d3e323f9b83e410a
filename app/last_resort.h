#pragma once

/// Where the program ends when no handler is left, for an exception (std::terminate) or for a fault outside of every
/// frame that could take it: a dump of the fault, a Crash record and exit code 1 instead of a dialog or an abort
/// message. With it come the dumps of all other faults, and the pruning of old ones at the process's end.
void installLastResort() noexcept;
