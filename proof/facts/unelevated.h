#pragma once

#include "runtime/identity.h"
#include "test/child_process.h"
#include "test/sandbox.h"

/// A token of this process's user as a prompt that is not elevated has it: the group of administrators does not
/// count, there are no privileges, and the integrity level is medium.
inline UniqueHandle unelevatedToken()
{
    const UniqueHandle own = identity::tokenOf(GetCurrentProcess(), TOKEN_ALL_ACCESS);
    const identity::Sid user = identity::userOf(own.get()), system = identity::Sid::parse(L"SY"),
                        administrators = identity::Sid::parse(L"BA"), medium = identity::Sid::parse(L"S-1-16-8192");
    SID_AND_ATTRIBUTES disabled{administrators.get(), 0};
    UniqueHandle token;
    EXPECT_TRUE(CreateRestrictedToken(
        own.get(), DISABLE_MAX_PRIVILEGE, 1, &disabled, 0, nullptr, 0, nullptr, token.receive()))
        << GetLastError();
    // What the process makes belongs to its user, not to the administrators, whom it could not open it as.
    BYTE memory[256];
    auto* const list = reinterpret_cast<ACL*>(memory);
    InitializeAcl(list, sizeof memory, ACL_REVISION);
    AddAccessAllowedAce(list, ACL_REVISION, GENERIC_ALL, user.get());
    AddAccessAllowedAce(list, ACL_REVISION, GENERIC_ALL, system.get());
    TOKEN_DEFAULT_DACL rights{list};
    TOKEN_OWNER owner{user.get()};
    TOKEN_MANDATORY_LABEL level{{medium.get(), SE_GROUP_INTEGRITY}};
    EXPECT_TRUE(SetTokenInformation(token.get(), TokenDefaultDacl, &rights, sizeof rights)) << GetLastError();
    EXPECT_TRUE(SetTokenInformation(token.get(), TokenOwner, &owner, sizeof owner) || kit::isWine())
        << GetLastError();
    EXPECT_TRUE(SetTokenInformation(token.get(), TokenIntegrityLevel, &level, sizeof level)) << GetLastError();
    EXPECT_FALSE(identity::isAdministrator(token.get())) << "the token is still an administrator's";
    return token;
}

/// Runs a command line with that token. "Restricted Tokens" and "CreateProcessAsUserW function": a restricted form of
/// the caller's own token needs no privilege to be assigned. @param outputFile  gets its output
inline ChildResult runUnelevated(std::wstring commandLine, const std::wstring& outputFile)
{
    const UniqueHandle token = unelevatedToken();
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    UniqueFile output(CreateFileW(
        outputFile.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = output.get();
    PROCESS_INFORMATION started{};
    EXPECT_TRUE(CreateProcessAsUserW(token.get(), nullptr, commandLine.data(), nullptr, nullptr, TRUE,
        CREATE_NO_WINDOW, nullptr, nullptr, &startup, &started))
        << "the program does not start without elevation: " << GetLastError();
    const UniqueHandle process(started.hProcess), thread(started.hThread);
    DWORD code = 1;
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(process.get(), 60'000)) << "the program does not end";
    TerminateProcess(process.get(), 1);
    GetExitCodeProcess(process.get(), &code);
    output.reset();
    return {code, readFile(outputFile)};
}
