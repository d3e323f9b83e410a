#pragma once

/// Where the program ends when no handler is left (std::terminate): a Crash record and exit code 1 instead of
/// an abort message.
void installLastResort() noexcept;
