#pragma once

#include <string>

/// A virtual disk with two NTFS volumes: one with a drive letter, and a small one without.
class Disk
{
public:
    /// Makes and attaches the disk. Without success drive() is empty and failure() tells why.
    /// @param file  its full path; must not exist
    explicit Disk(std::wstring file);
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;
    ~Disk();

    /// Detaches a disk that this process or an earlier one made, and deletes its file.
    /// @return false when the file is still there
    static bool remove(const std::wstring& file);

    const std::wstring& drive() const { return drive_; }           // like "V:"
    const std::wstring& bareVolume() const { return bareVolume_; } // like "\\?\Volume{...}\"
    const std::string& failure() const { return failure_; }

private:
    std::wstring file_, drive_, bareVolume_;
    std::string failure_;
};
