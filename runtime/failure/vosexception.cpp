#include "runtime/failure/vosexception.h"

#include "runtime/handle/handles.h"

namespace {

std::wstring describe(DWORD code, const std::wstring& context)
{
    std::wstring text = systemMessage(code) + L" (Error code " + std::to_wstring(code) + L")";
    if (!context.empty())
        text += L" at " + context;
    return text;
}

} // namespace

std::wstring systemMessage(DWORD code)
{
    wchar_t* buffer = nullptr;
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
            nullptr, code, 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
    const UniqueLocalMemory owner(buffer);
    if (length == 0)
        return L"Unknown error";

    std::wstring text(buffer, length);
    text.erase(text.find_last_not_of(L"\r\n") + 1);
    return text;
}

vosexception::vosexception(DWORD code, const std::wstring& context, RaiseSite site)
    : vexception(describe(code, context), site), code_(code)
{
}

void throwOsError(DWORD code, const std::wstring& context, RaiseSite site)
{
    switch (code) {
    case ERROR_FILE_NOT_FOUND:
        throw VFileNotFoundException(context, site);
    case ERROR_PATH_NOT_FOUND:
        throw VPathNotFoundException(context, site);
    case ERROR_ACCESS_DENIED:
        throw VAccessDeniedException(context, site);
    case ERROR_SHARING_VIOLATION:
        throw VSharingViolationException(context, site);
    case ERROR_SERVICE_DOES_NOT_EXIST:
        throw VServiceDoesNotExistException(context, site);
    default:
        throw vosexception(code, context, site);
    }
}

void throwLastError(std::initializer_list<std::wstring_view> context, RaiseSite site)
{
    const DWORD code = GetLastError(); // before an allocation can change it
    std::wstring text;
    for (const std::wstring_view part : context)
        text += part;
    throwOsError(code, text, site);
}
