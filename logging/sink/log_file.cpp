#include "logging/sink/log_file.h"

#include "config/product_config.h"
#include "config/registry.h"
#include "logging/sink/log_lock.h"
#include "runtime/failure/vosexception.h"
#include "runtime/module.h"
#include "runtime/path.h"
#include "runtime/vdatetime.h"

#include <utility>

namespace {

constexpr wchar_t byteOrderMark = 0xfeff;

/// Whether the open file is or may be a link, or has several names: then it may be a file of another directory. Sets
/// `isReparse` for other reparse points, such as files of volumes with deduplication.
bool isForeign(HANDLE file, const FILE_STANDARD_INFO& standard, bool& isReparse)
{
    FILE_BASIC_INFO basic;
    FILE_ATTRIBUTE_TAG_INFO tag;
    if (!GetFileInformationByHandleEx(file, FileBasicInfo, &basic, sizeof basic))
        return true;
    isReparse = (basic.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    return standard.NumberOfLinks > 1 ||
           (isReparse && (!GetFileInformationByHandleEx(file, FileAttributeTagInfo, &tag, sizeof tag) ||
                             IsReparseTagNameSurrogate(tag.ReparseTag)));
}

void append(const std::wstring& path, const std::wstring& line)
{
    constexpr DWORD rights = GENERIC_READ | GENERIC_WRITE, sharing = FILE_SHARE_READ | FILE_SHARE_WRITE;
    const auto failed = [&](const wchar_t* call) { throwLastError({call, L" '", path, L"'"}, {"LogFile::write"}); };
    // Follows no link: accounts that may write to the directory could lead the line into any file.
    UniqueFile file(CreateFileW(path.c_str(), rights, sharing, nullptr, OPEN_ALWAYS,
        FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!file)
        failed(L"CreateFile");
    FILE_STANDARD_INFO standard;
    if (!GetFileInformationByHandleEx(file.get(), FileStandardInfo, &standard, sizeof standard))
        failed(L"GetFileInformationByHandleEx");
    bool isReparse = false;
    if (isForeign(file.get(), standard, isReparse))
        throw vexception(L"The log '" + path + L"' is a link or has several names", {"LogFile::write"});
    if (isReparse) // opened as itself it would not show its content
        file.reset(ReOpenFile(file.get(), rights, sharing, 0));

    const std::wstring record = standard.EndOfFile.QuadPart == 0 ? byteOrderMark + line : line;
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
    const LogLock lock(*mutex_);
    // Take the time with the mutex held, so that the lines are in the order of their time stamps.
    const std::wstring file = L"kelvolog_" + name_ + VDateTime::local().compactDate() + L".log";
    append(path::combine(directory_, file), VDateTime::local().timeStamp() + L" " +
                                                std::to_wstring(GetCurrentProcessId()) + L" " +
                                                std::to_wstring(GetCurrentThreadId()) + L" " + text + L"\r\n");
}
