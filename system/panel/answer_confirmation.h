#pragma once

#include <string>

/// Compares answers of the management service with the registry. Directories are compared by their place on the
/// volume, not by the text of their paths.
namespace panel {

/// @return the registry's PRODUCT_ROOT_D, when the answer names the same directory
/// @throws vexception that names both directories, or when PRODUCT_ROOT_D cannot be read
std::wstring confirmedInstallationDirectory(const std::wstring& answer);

/// Whether the answer lies below the registry's PRODUCT_ROOT_D or PRODUCT_DATA_D, or in Windows\Temp. False when this
/// cannot be told. @throws vosexception "LCMapStringEx"
bool isTemporaryDirectory(const std::wstring& answer);

} // namespace panel
