#pragma once

#include <string>

/// The panel's directories, as its management service names them. The paths are normalised.
namespace panel {

/// The installation directory. The service's first answer is kept for the life of the process.
/// @throws vexception when the query fails, or the answer is not an absolute path
std::wstring installationDirectory();

/// The directory of the panel's temporary dump files. Queries the service at each call.
/// @throws vexception when the query fails
std::wstring dumpTempDirectory();

} // namespace panel
