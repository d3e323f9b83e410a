// The program writes to standard output by its own means (logging/sink/standard_output). JsonCpp includes <iostream>,
// which would link and construct std::cout and the others at every start: 150 KB of the image.

#include <ios>

namespace std { // NOLINT(cert-dcl58-cpp): replaces the library's own functions

void ios_base_library_init();

/// Refers to the objects, from GCC 13 on.
void ios_base_library_init() // NOLINT(misc-use-internal-linkage)
{
}

/// Constructs and flushes them, before GCC 13.
ios_base::Init::Init() = default;
ios_base::Init::~Init() = default;

} // namespace std
