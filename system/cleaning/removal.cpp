#include "system/cleaning/removal.h"

#include "runtime/failure/vosexception.h"
#include "system/cleaning/kept_directory.h"
#include "system/cleaning/tree_removal.h"
#include "system/cleaning/win32_codes.h"

namespace {

enum class What
{
    entry,
    tree
};

void remove(const std::wstring& path, What what)
{
    constexpr long longestWait = 2000;
    static RetryBudget retries(longestWait);
    TreeRemoval removal(cleaning::source(), retries);
    const std::size_t separator = path.rfind(L'\\');
    const DirectoryAt* parent = nullptr;
    std::wstring failed = path;
    DWORD code =
        separator == std::wstring::npos ? ERROR_BAD_PATHNAME : cleaning::directory(path.substr(0, separator), parent);
    if (code == ERROR_SUCCESS) {
        const std::wstring_view name = std::wstring_view(path).substr(separator + 1);
        code = what == What::tree ? removal.removeTree(*parent, name) : removal.removeEntry(*parent, name);
        failed = path.substr(0, separator + 1) + removal.failedPath();
    }
    // The trail's name is part of the interface with the panel's log readers; do not correct.
    if (code != ERROR_SUCCESS && !isMissing(code))
        throwOsError(code, L"Unable to remove path (" + failed + L")", {"RunTime::File::remove"});
}

} // namespace

void removeFile(const std::wstring& path)
{
    remove(path, What::entry);
}

void removeDirectory(const std::wstring& path)
{
    remove(path, What::tree);
}
