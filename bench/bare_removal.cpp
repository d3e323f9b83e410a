// Removes a tree with find and delete calls only, without regard to links and failures: the reference for
// mendkit --free-disk-space.

#include <windows.h>

#include <string>

namespace {

void removeTree(const std::wstring& directory)
{
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileExW((directory + L"\\*").c_str(), FindExInfoBasic, &found,
        FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
    if (search == INVALID_HANDLE_VALUE)
        return;
    do {
        const std::wstring path = directory + L"\\" + found.cFileName;
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            DeleteFileW(path.c_str());
        else if (path.back() != L'.')
            removeTree(path);
    } while (FindNextFileW(search, &found));
    FindClose(search);
    RemoveDirectoryW(directory.c_str());
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc < 2)
        return 1;
    removeTree(argv[1]);
    return 0;
}
