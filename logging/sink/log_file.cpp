#include "logging/sink/log_file.h"

#include "config/product_config.h"
#include "config/registry.h"
#include "runtime/failure/vosexception.h"
#include "runtime/module.h"
#include "runtime/path.h"
#include "runtime/vdatetime.h"

#include <mutex>
#include <utility>

namespace {

constexpr wchar_t byteOrderMark = 0xfeff;

void append(const std::wstring& path, const std::wstring& line)
{
    const auto failed = [&](const wchar_t* call) { throwLastError({call, L" '", path, L"'"}, {"LogFile::write"}); };
    const UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
        nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        failed(L"CreateFile");
    LARGE_INTEGER end;
    if (!SetFilePointerEx(file.get(), {}, &end, FILE_END))
        failed(L"SetFilePointer");

    const std::wstring record = end.QuadPart == 0 ? byteOrderMark + line : line;
    // This offset makes WriteFile append. A writer that does not take the mutex can add a line between two others,
    // but cannot split one.
    OVERLAPPED atEnd{};
    atEnd.Offset = atEnd.OffsetHigh = 0xffffffff;
    const DWORD size = static_cast<DWORD>(record.size() * sizeof(wchar_t));
    DWORD written = 0;
    SetLastError(ERROR_WRITE_FAULT); // a short write sets no error code
    if (!WriteFile(file.get(), record.data(), size, &written, &atEnd) || written != size)
        failed(L"WriteFile");
}

} // namespace

LogFile::LogFile(std::wstring name, bool enabledDefault) : name_(std::move(name))
{
    DWORD enabled = enabledDefault;
    if (name_.empty())
        name_ = moduleTitle();
    const UniqueRegistryKey key = config::openKey(); // once for both values: opening takes longer than reading
    if (key)
        registry::lookup(key.get(), L"log_" + name_ + L"_enabled", enabled);
    if (!enabled)
        return;

    std::wstring root; // empty when it is not set: the directory is relative
    if (key)
        registry::lookup(key.get(), L"PRODUCT_ROOT_D", root);
    directory_ = path::combine(path::normalise(root), L"admin\\logs");
    mutex_.emplace(L"kelvolog_" + name_ + L"_mutex");
}

void LogFile::write(const std::wstring& text)
{
    if (!mutex_)
        return;
    const std::lock_guard lock(*mutex_);
    // Take the time with the mutex held, so that the lines are in the order of their time stamps.
    const std::wstring file = L"kelvolog_" + name_ + VDateTime::local().compactDate() + L".log";
    append(path::combine(directory_, file), VDateTime::local().timeStamp() + L" " +
                                                std::to_wstring(GetCurrentProcessId()) + L" " +
                                                std::to_wstring(GetCurrentThreadId()) + L" " + text + L"\r\n");
}
