#pragma once

#include "system/cleaning/directory_entry.h"

#include <cstdint>
#include <string>

/// A volume's size, in bytes.
struct DiskSpace
{
    std::uint64_t total;
    std::uint64_t free; // all of it, not only what the caller's quota leaves
};

namespace KelvoRepairAdapter {

/// The repair operations' only door to the operating system. Failures are vexceptions.
class ISystemHelper
{
public:
    virtual ~ISystemHelper() = default;

    virtual bool isServiceExist(const std::wstring& name) = 0;
    /// As the service control manager numbers it: 0 boot, 1 system, 2 automatic, 3 on demand, 4 disabled.
    virtual std::uint32_t getServiceStartupType(const std::wstring& name) = 0;
    /// As the service control manager numbers it: 1 stopped ... 7 paused.
    virtual std::uint32_t getServiceStatus(const std::wstring& name) = 0;

    /// Runs a panel utility to its end. @param bin64  from the directory of the 64-bit utilities
    /// @return what it wrote; a utility that exits with another code than 0 is a failure
    virtual std::wstring execUtil(const std::wstring& name, const std::wstring& arguments, bool bin64) = 0;

    /// The panel's installation directory.
    virtual std::wstring getKelvoRootDir() = 0;
    /// The panel's directory of temporary dump files.
    virtual std::wstring getDumpTempDir() = 0;
    virtual std::wstring getWindowsDir() = 0;

    /// @param path  a directory on the volume
    virtual DiskSpace getDiskSpace(const std::wstring& path) = 0;
    /// @param kind  a ListingKind; another number lists nothing
    virtual DirectoryEntries listDirectory(const std::wstring& path, std::int32_t kind) = 0;

    /// Removes a directory with everything in it; links are removed as such, never followed. One that is no longer
    /// there counts as removed.
    virtual void removeDirectory(const std::wstring& path) = 0;
    /// Removes a file, or a directory link as such. One that is no longer there counts as removed.
    virtual void removeFile(const std::wstring& path) = 0;
};

} // namespace KelvoRepairAdapter
