#pragma once

#include <windows.h>

#include <cstdint>

/// What identifies an open file or directory, however its path is spelt.
struct FileId
{
    FILE_ID_INFO full;    // unique on this machine; all zero: the file system does not tell it
    std::uint32_t volume; // serial number, and
    std::uint64_t index;  // number on the volume: what a file server tells too; 0: not told
};

/// @return ERROR_SUCCESS when at least one of the two identifiers is known, else a Win32 code
DWORD fileIdOf(HANDLE file, FileId& id) noexcept;

/// Whether both are the same object, for a decision that needs certainty.
bool isSame(const FileId& left, const FileId& right) noexcept;

/// Whether both could be the same object: also one that is opened locally and over the network.
bool mayBeSame(const FileId& left, const FileId& right) noexcept;
