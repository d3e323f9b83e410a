#include <cstdlib>

namespace __gnu_cxx { // NOLINT(bugprone-reserved-identifier,cert-dcl*): the name of the library's function

/// Replaces the library's handler, which prints the type of an uncaught exception: its demangler takes 50 KB of the
/// image. The program sets a handler of its own at its start (installLastResort); this one ends what is before that.
void __verbose_terminate_handler() // NOLINT(bugprone-reserved-identifier,misc-use-internal-linkage)
{
    std::abort();
}

} // namespace __gnu_cxx
