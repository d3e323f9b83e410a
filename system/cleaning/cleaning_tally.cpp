#include "system/cleaning/cleaning_tally.h"

#include "logging/log_manager.h"
#include "runtime/failure/vosexception.h"

#include <utility>

std::wstring CleaningTally::Count::text() const
{
    std::wstring all = std::to_wstring(removed) + L" entries removed (" + std::to_wstring(bytes) + L" bytes), " +
                       std::to_wstring(kept) + L" kept, " + std::to_wstring(GetTickCount64() - start) + L" ms";
    if (kept > 0)
        all += L". The first one that was kept: " + firstKept;
    return all;
}

void CleaningTally::begin(const std::wstring& directory)
{
    endDirectory();
    directory_ = directory;
    count_ = {};
    if (directories_++ == 0)
        all_ = {};
}

void CleaningTally::countRemoved(std::uint64_t entries, std::uint64_t bytes) noexcept
{
    for (Count* const count : {&count_, &all_}) {
        count->removed += entries;
        count->bytes += bytes;
    }
}

void CleaningTally::countKept(const std::wstring& path, DWORD code)
{
    for (Count* const count : {&count_, &all_}) {
        if (count->kept++ == 0)
            count->firstKept = L"'" + path + L"', " + systemMessage(code);
    }
}

void CleaningTally::endDirectory()
{
    if (directories_ > 0)
        LogManager::log(LogLevel::Info, L"Directory '%s': %s", directory_.c_str(), count_.text().c_str());
}

void CleaningTally::finish()
{
    endDirectory();
    if (const int directories = std::exchange(directories_, 0); directories == 0)
        return;
    else
        LogManager::log(LogLevel::Info, L"Cleaned %d directories: %s", directories, all_.text().c_str());
    if (all_.removed == 0 && all_.kept > 0)
        LogManager::logForAdministrators(L"No disk space was freed: %s", all_.text().c_str());
}
