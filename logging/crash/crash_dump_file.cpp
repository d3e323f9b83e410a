#include "logging/crash/crash_dump_file.h"

#include "runtime/failure/vosexception.h"

namespace {

/// Security attributes that grant access to SYSTEM and Administrators only, not to the creator. The owner is
/// Administrators, because an owner may always change the rights. Uses no heap, which may be corrupt.
class AdministratorsOnly
{
public:
    AdministratorsOnly() noexcept
    {
        InitializeAcl(acl(), sizeof acl_, ACL_REVISION);
        allow(WinLocalSystemSid, system_);
        allow(WinBuiltinAdministratorsSid, administrators_);
        InitializeSecurityDescriptor(&descriptor_, SECURITY_DESCRIPTOR_REVISION);
        SetSecurityDescriptorOwner(&descriptor_, administrators_, FALSE);
        SetSecurityDescriptorDacl(&descriptor_, TRUE, acl(), FALSE);
        SetSecurityDescriptorControl(&descriptor_, SE_DACL_PROTECTED, SE_DACL_PROTECTED);
    }
    AdministratorsOnly(const AdministratorsOnly&) = delete;
    AdministratorsOnly& operator=(const AdministratorsOnly&) = delete;

    SECURITY_ATTRIBUTES* attributes() noexcept { return &attributes_; }

private:
    using SidBuffer = BYTE[SECURITY_MAX_SID_SIZE];

    ACL* acl() noexcept { return reinterpret_cast<ACL*>(acl_); }

    void allow(WELL_KNOWN_SID_TYPE type, SidBuffer& sid) noexcept
    {
        DWORD size = sizeof sid;
        CreateWellKnownSid(type, nullptr, sid, &size);
        AddAccessAllowedAce(acl(), ACL_REVISION, FILE_ALL_ACCESS, sid);
    }

    alignas(DWORD) SidBuffer system_, administrators_;
    alignas(DWORD) BYTE acl_[256];
    SECURITY_DESCRIPTOR descriptor_;
    SECURITY_ATTRIBUTES attributes_{sizeof attributes_, &descriptor_, FALSE};
};

/// Deletes an existing file instead of overwriting it: the file would keep its rights and owner, and a planted link
/// would lead to another file.
UniqueFile create(const std::wstring& name)
{
    AdministratorsOnly rights;
    for (int attempt = 0;; ++attempt) {
        UniqueFile file(CreateFileW(name.c_str(), FILE_ALL_ACCESS, FILE_SHARE_READ, rights.attributes(), CREATE_NEW,
            FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
        if (file)
            return file;
        const DWORD code = GetLastError();
        if (code != ERROR_FILE_EXISTS || attempt == 1 || !DeleteFileW(name.c_str()))
            throwOsError(code, L"CreateFile '" + name + L"'", {"internalDumpMiniDump"});
    }
}

/// By handle: the name may denote another file by now.
bool markForDeletion(HANDLE file, BOOL isMarked) noexcept
{
    FILE_DISPOSITION_INFO disposition{static_cast<BOOLEAN>(isMarked)};
    return SetFileInformationByHandle(file, FileDispositionInfo, &disposition, sizeof disposition) != FALSE;
}

} // namespace

CrashDumpFile::CrashDumpFile(const std::wstring& name)
    : file_(create(name)), isMarked_(markForDeletion(file_.get(), TRUE))
{
}

void CrashDumpFile::keep()
{
    if (isMarked_ && !markForDeletion(file_.get(), FALSE))
        throwLastError({L"SetFileInformationByHandle"}, {"internalDumpMiniDump"});
}

UniqueFile CrashDumpFile::duplicate() const
{
    UniqueFile copy;
    if (!DuplicateHandle(
            GetCurrentProcess(), file_.get(), GetCurrentProcess(), copy.receive(), 0, FALSE, DUPLICATE_SAME_ACCESS))
        throwLastError({L"DuplicateHandle"}, {"internalDumpMiniDump"});
    return copy;
}
