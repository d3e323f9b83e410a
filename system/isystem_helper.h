#pragma once

#include "system/cleaning/directory_entry.h"

#include <cstdint>
#include <string>

/// A volume's size, in bytes.
struct DiskSpace
{
    std::uint64_t total;
    std::uint64_t free; // of the volume, without regard to the caller's quota
};

namespace KelvoRepairAdapter {

/// All access of the repair operations to the operating system. Every function may throw a vexception.
class ISystemHelper
{
public:
    virtual ~ISystemHelper() = default;

    virtual bool isServiceExist(const std::wstring& name) = 0;
    /// The number of the service control manager: 0 boot, 1 system, 2 automatic, 3 on demand, 4 disabled.
    virtual std::uint32_t getServiceStartupType(const std::wstring& name) = 0;
    /// The number of the service control manager: 1 stopped ... 7 paused.
    virtual std::uint32_t getServiceStatus(const std::wstring& name) = 0;

    /// Runs a panel utility to its end. An exit code other than 0 is a failure.
    /// @param bin64  whether the utility lies in the directory of the 64-bit utilities
    /// @return its output
    virtual std::wstring execUtil(const std::wstring& name, const std::wstring& arguments, bool bin64) = 0;

    /// The panel's installation directory.
    virtual std::wstring getKelvoRootDir() = 0;
    /// The directory of the panel's temporary dump files.
    virtual std::wstring getDumpTempDir() = 0;
    virtual std::wstring getWindowsDir() = 0;

    /// @param path  a directory on the volume
    virtual DiskSpace getDiskSpace(const std::wstring& path) = 0;
    /// @param kind  a ListingKind; another number lists nothing
    virtual DirectoryEntries listDirectory(const std::wstring& path, std::int32_t kind) = 0;

    /// Removes a directory with its content. Links in it are removed, not followed. A missing directory counts as
    /// removed.
    virtual void removeDirectory(const std::wstring& path) = 0;
    /// Removes a file or a link; the target of a link stays. A missing entry counts as removed.
    virtual void removeFile(const std::wstring& path) = 0;
};

} // namespace KelvoRepairAdapter
