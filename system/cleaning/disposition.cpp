#include "system/cleaning/disposition.h"

#include "runtime/handle/handles.h"

namespace {

/// Whether the code says that the system or the file system does not support the request.
bool isUnknown(DWORD code) noexcept
{
    return code == ERROR_INVALID_PARAMETER || code == ERROR_NOT_SUPPORTED || code == ERROR_INVALID_FUNCTION ||
           code == ERROR_INVALID_LEVEL;
}

DWORD disposeNow(HANDLE object, DWORD flags) noexcept
{
    constexpr auto fileDispositionInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21);
    FILE_DISPOSITION_INFO_EX info{flags};
    return SetFileInformationByHandle(object, fileDispositionInfoEx, &info, sizeof info) ? ERROR_SUCCESS
                                                                                         : GetLastError();
}

DWORD disposeAtClose(HANDLE object) noexcept
{
    FILE_DISPOSITION_INFO info{TRUE};
    return SetFileInformationByHandle(object, FileDispositionInfo, &info, sizeof info) ? ERROR_SUCCESS
                                                                                       : GetLastError();
}

bool setAttributes(HANDLE object, DWORD attributes) noexcept
{
    FILE_BASIC_INFO info{}; // times of zero stay as they are
    info.FileAttributes = attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL;
    return SetFileInformationByHandle(object, FileBasicInfo, &info, sizeof info) != FALSE;
}

} // namespace

DWORD Disposition::dispose(HANDLE object) noexcept
{
    constexpr DWORD posix = FILE_DISPOSITION_FLAG_DELETE | FILE_DISPOSITION_FLAG_POSIX_SEMANTICS,
                    ignoreReadOnly = 0x10; // FILE_DISPOSITION_FLAG_IGNORE_READONLY_ATTRIBUTE
    const Form before = form_;
    DWORD code = ERROR_INVALID_FUNCTION;
    if (form_ == Form::posixIgnoringReadOnly) {
        code = disposeNow(object, posix | ignoreReadOnly);
        if (isUnknown(code))
            form_ = Form::posix;
    }
    if (form_ == Form::posix) {
        code = disposeNow(object, posix);
        if (isUnknown(code))
            form_ = Form::atClose;
    }
    if (form_ == Form::atClose) {
        code = disposeAtClose(object);
        if (isUnknown(code)) // it is the object that does not know removal
            form_ = before;
    }
    return code;
}

/// For systems that refuse to remove a read-only object: clears the attribute for the removal.
DWORD Disposition::removeReadOnly(HANDLE object) noexcept
{
    FILE_BASIC_INFO basic;
    FILE_STANDARD_INFO standard;
    if (!GetFileInformationByHandleEx(object, FileStandardInfo, &standard, sizeof standard) || standard.DeletePending)
        return ERROR_DELETE_PENDING; // another process removed it first
    if (!GetFileInformationByHandleEx(object, FileBasicInfo, &basic, sizeof basic) ||
        (basic.FileAttributes & FILE_ATTRIBUTE_READONLY) == 0)
        return ERROR_ACCESS_DENIED;
    const UniqueFile writer(
        ReOpenFile(object, FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
            FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT));
    if (!writer || !setAttributes(writer.get(), basic.FileAttributes & ~DWORD{FILE_ATTRIBUTE_READONLY}))
        return ERROR_ACCESS_DENIED;
    const DWORD code = dispose(object);
    // The attributes belong to the file, so other hard links show them too.
    if (code != ERROR_SUCCESS || standard.NumberOfLinks > 1)
        setAttributes(writer.get(), basic.FileAttributes);
    return code;
}

DWORD Disposition::remove(HANDLE object)
{
    const DWORD code = dispose(object);
    return code == ERROR_ACCESS_DENIED ? removeReadOnly(object) : code;
}
