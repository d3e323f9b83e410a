#pragma once

#include <string>

/// Where the panel lies, as its management service says. Texts are normalised paths.
namespace panel {

/// The installation directory: asked for once per process, until it was answered.
/// @throws vexception when the service cannot be asked, or its answer is no absolute path
std::wstring installationDirectory();

/// The directory of the panel's temporary dump files: asked for at every call. @throws vexception
std::wstring dumpTempDirectory();

} // namespace panel
