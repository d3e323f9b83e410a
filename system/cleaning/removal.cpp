#include "system/cleaning/removal.h"

#include "runtime/failure/vosexception.h"
#include "system/cleaning/kept_directory.h"
#include "system/cleaning/tree_removal.h"
#include "system/cleaning/win32_codes.h"

namespace {

void remove(const std::wstring& path, DWORD (TreeRemoval::*how)(const DirectoryAt&, std::wstring_view))
{
    constexpr long longestWait = 2000;
    static RemovalPatience patience(longestWait);
    TreeRemoval removal(cleaning::source(), patience);
    const std::size_t separator = path.rfind(L'\\');
    const DirectoryAt* parent = nullptr;
    std::wstring failed = path;
    DWORD code =
        separator == std::wstring::npos ? ERROR_BAD_PATHNAME : cleaning::directory(path.substr(0, separator), parent);
    if (code == ERROR_SUCCESS) {
        code = (removal.*how)(*parent, std::wstring_view(path).substr(separator + 1));
        failed = path.substr(0, separator + 1) + removal.failedPath();
    }
    if (code != ERROR_SUCCESS && !isMissing(code))
        throwOsError(code, L"Unable to remove path (" + failed + L")", {"RunTime::File::remove"});
}

} // namespace

void removeFile(const std::wstring& path)
{
    remove(path, &TreeRemoval::removeEntry);
}

void removeDirectory(const std::wstring& path)
{
    remove(path, &TreeRemoval::removeTree);
}
