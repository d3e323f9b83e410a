// The program writes to standard output by its own means (logging/sink/standard_output). JsonCpp includes <iostream>.
// Until GCC 12 that links std::cout and the others and constructs them at every start: 77 KB of the image.

#include <ios>

#if __GNUC__ < 13

namespace std { // NOLINT(cert-dcl58-cpp): replaces the library's own functions

ios_base::Init::Init()
{
}
ios_base::Init::~Init()
{
}

} // namespace std

#endif
