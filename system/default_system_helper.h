#pragma once

#include "system/isystem_helper.h"

namespace KelvoRepairAdapter {

/// The system helper of the program: queries and changes the machine. Holds no state.
class DefaultSystemHelper : public ISystemHelper
{
public:
    DefaultSystemHelper() = default;
    DefaultSystemHelper(const DefaultSystemHelper&) = delete;
    DefaultSystemHelper& operator=(const DefaultSystemHelper&) = delete;
    /// Logs what became of the cleaned directories.
    ~DefaultSystemHelper() override;

    bool isServiceExist(const std::wstring& name) override;
    std::uint32_t getServiceStartupType(const std::wstring& name) override;
    std::uint32_t getServiceStatus(const std::wstring& name) override;
    std::wstring execUtil(const std::wstring& name, const std::wstring& arguments, bool bin64) override;
    std::wstring getKelvoRootDir() override;
    std::wstring getDumpTempDir() override;
    std::wstring getWindowsDir() override;
    DiskSpace getDiskSpace(const std::wstring& path) override;
    DirectoryEntries listDirectory(const std::wstring& path, std::int32_t kind) override;
    void removeDirectory(const std::wstring& path) override;
    void removeFile(const std::wstring& path) override;
};

} // namespace KelvoRepairAdapter
