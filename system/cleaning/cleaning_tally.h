#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

/// Counts what became of the entries of the cleaned directories, and logs it: one Info record per directory, one for
/// all of them. A Warning for the administrators tells of a run that removed nothing although there was something.
class CleaningTally
{
public:
    /// Starts the count of a directory; logs that of the directory before it.
    void begin(const std::wstring& directory);

    /// @param bytes  that the entries took on their volume
    void countRemoved(std::uint64_t entries, std::uint64_t bytes) noexcept;
    /// An entry that could not be removed, or that was not tried.
    /// @param path  of the entry @param code  Win32 code
    void countKept(const std::wstring& path, DWORD code);

    /// Logs the last directory's count and that of all. Does nothing when no directory was begun.
    void finish();

private:
    struct Count
    {
        std::uint64_t removed = 0, bytes = 0, kept = 0;
        std::wstring firstKept; // its path and the reason
        ULONGLONG start = GetTickCount64();

        std::wstring text() const;
    };

    void endDirectory();

    std::wstring directory_;
    Count count_, all_;
    int directories_ = 0;
};
