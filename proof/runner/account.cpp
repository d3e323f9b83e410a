#include "proof/runner/account.h"

#include "runtime/handle/handles.h"

#include <windows.h>

#include <lm.h>
#include <ntsecapi.h>
#include <sddl.h>
#include <userenv.h>

namespace {

std::wstring randomPassword()
{
    BYTE bytes[20] = {};
    RtlGenRandom(bytes, sizeof bytes);
    std::wstring password = L"aA1!"; // every kind of character that a policy may ask for
    for (const BYTE byte : bytes)
        password += static_cast<wchar_t>(L'a' + byte % 26);
    return password;
}

} // namespace

Account::Account(const std::wstring& name) : name_(name), password_(randomPassword())
{
    wchar_t comment[] = L"Made by the proof kit of mendkit; can be removed";
    USER_INFO_1 user{}; // "USER_INFO_1 structure": the privilege must be this one, and UF_SCRIPT must be set
    user.usri1_name = name_.data();
    user.usri1_password = password_.data();
    user.usri1_priv = USER_PRIV_USER;
    user.usri1_comment = comment;
    user.usri1_flags = UF_SCRIPT | UF_DONT_EXPIRE_PASSWD;
    const NET_API_STATUS status = NetUserAdd(nullptr, 1, reinterpret_cast<BYTE*>(&user), nullptr);
    if (status == NERR_Success)
        return;
    failure_ = "NetUserAdd failed with " + std::to_string(status);
    name_.clear();
}

Account::~Account()
{
    if (!name_.empty())
        remove(name_);
}

bool Account::exists(const std::wstring& name)
{
    BYTE* information = nullptr;
    const NET_API_STATUS status = NetUserGetInfo(nullptr, name.c_str(), 0, &information);
    NetApiBufferFree(information);
    return status == NERR_Success;
}

bool Account::remove(const std::wstring& name)
{
    BYTE sid[SECURITY_MAX_SID_SIZE];
    wchar_t domain[256];
    DWORD sidSize = sizeof sid, domainSize = 256;
    SID_NAME_USE use;
    wchar_t* text = nullptr;
    if (LookupAccountNameW(nullptr, name.c_str(), sid, &sidSize, domain, &domainSize, &use) &&
        ConvertSidToStringSidW(sid, &text)) {
        const UniqueLocalMemory memory(text);
        DeleteProfileW(text, nullptr, nullptr); // fails where the account has none
    }
    const NET_API_STATUS status = NetUserDel(nullptr, name.c_str());
    return status == NERR_Success || status == NERR_UserNotFound;
}
