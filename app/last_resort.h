#pragma once

/// Installs the handlers of an uncaught exception (std::terminate) and of an unhandled fault. They write a dump of
/// the fault and a Crash record and end the process with code 1, without a dialog or an abort message. A program that
/// calls this also dumps all other faults and prunes old dumps at process exit.
void installLastResort() noexcept;
