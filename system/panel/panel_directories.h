#pragma once

#include <string>

/// The panel's directories as its management service names them. All are normalised paths. Where the system finds
/// another directory at the path as it was answered, the directory is not used.
///
/// Where identities that are not trusted may have answered in the service's place
/// (KelvoSrvClient::needsConfirmation), the registry, which only administrators can write, has to confirm the
/// answers.
namespace panel {

/// The installation directory; asked for until it was answered once. An answer that needs confirmation must name the
/// same directory as the registry's PRODUCT_ROOT_D; the registry's path is returned then.
/// @throws vexception when the service cannot be asked, its answer is no absolute path, ambiguous or not
///         confirmed
std::wstring installationDirectory();

/// The installation directory, if it is known already; else empty. Asks nobody.
std::wstring knownInstallationDirectory();

/// The directory of the panel's temporary dump files; asked for at every call. @throws vexception
std::wstring dumpTempDirectory();

/// Whether the answer of the last dumpTempDirectory() may be emptied. One that needs confirmation must lie below the
/// registry's PRODUCT_ROOT_D or PRODUCT_DATA_D, or be Windows\Temp or lie below it; else this logs a Warning.
/// @param directory  the answer
/// @throws vosexception "LCMapStringEx"
bool mayCleanDumpTempDirectory(const std::wstring& directory);

} // namespace panel
