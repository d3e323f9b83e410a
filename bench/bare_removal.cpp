// The least that removes a tree: find and delete calls, links and failures left out of account.

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
