#include "system/panel/answer_confirmation.h"

#include "config/product_config.h"
#include "runtime/failure/vexception.h"
#include "runtime/file_location.h"
#include "runtime/path.h"
#include "runtime/text/format.h"

#include <windows.h>

namespace {

/// The place of a directory of the registry; empty when it is not set or cannot be opened.
std::wstring locationOf(std::wstring (*directory)())
{
    try {
        return location::of(directory());
    } catch (const vexception&) {
        return {};
    }
}

std::wstring windowsTemp()
{
    wchar_t windows[MAX_PATH] = L"";
    const UINT length = GetSystemWindowsDirectoryW(windows, MAX_PATH);
    return length > 0 && length < MAX_PATH ? location::of(path::append(windows, L"Temp")) : std::wstring();
}

} // namespace

std::wstring panel::confirmedInstallationDirectory(const std::wstring& answer)
{
    std::wstring registered = config::installationDirectory();
    if (!path::isAbsolute(registered) || !location::isSame(answer, registered)) {
        throw vexception(
            formatString(L"The management service names the installation directory '%s', the registry names '%s'",
                answer.c_str(), registered.c_str()),
            {"panel::installationDirectory"});
    }
    // Not the answer: a link in it could lead elsewhere later.
    return registered;
}

bool panel::isTemporaryDirectory(const std::wstring& answer)
{
    const std::wstring place = location::of(answer), temp = windowsTemp();
    return location::isBelow(place, locationOf(config::installationDirectory)) ||
           location::isBelow(place, locationOf(config::dataDirectory)) || (!place.empty() && place == temp) ||
           location::isBelow(place, temp);
}
