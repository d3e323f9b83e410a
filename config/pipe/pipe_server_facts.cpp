#include "config/pipe/pipe_server_facts.h"

#include "config/product_config.h"
#include "runtime/access_list.h"
#include "runtime/failure/vosexception.h"
#include "runtime/file_location.h"
#include "runtime/text/format.h"

#include <aclapi.h>

#include <algorithm>

namespace Con {

namespace {

Known known(bool answer) noexcept
{
    return answer ? Known::yes : Known::no;
}

/// The account of that name; empty when the system does not know it.
identity::Sid accountOf(const std::wstring& name)
{
    BYTE sid[SECURITY_MAX_SID_SIZE];
    wchar_t domain[MAX_PATH];
    DWORD sidSize = sizeof sid, domainSize = MAX_PATH;
    SID_NAME_USE use{};
    const bool found = LookupAccountNameW(nullptr, name.c_str(), sid, &sidSize, domain, &domainSize, &use);
    return found ? identity::Sid(sid) : identity::Sid();
}

std::wstring configuredAccount(SC_HANDLE manager, const std::wstring& service)
{
    const UniqueService handle(OpenServiceW(manager, service.c_str(), SERVICE_QUERY_CONFIG));
    constexpr DWORD largest = 8192; // the limit that QueryServiceConfig names
    std::vector<BYTE> buffer(largest);
    const auto config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.data());
    DWORD needed = 0;
    if (!handle || !QueryServiceConfigW(handle.get(), config, largest, &needed) || !config->lpServiceStartName)
        return {};
    return config->lpServiceStartName;
}

/// Whether it identifies one service. Tokens of services also hold groups of many processes, such as Everyone or,
/// with the same first part, all services.
bool isServiceIdentifier(const identity::Sid& sid)
{
    return *GetSidSubAuthorityCount(sid.get()) == SECURITY_SERVICE_ID_RID_COUNT &&
           *GetSidSubAuthority(sid.get(), 0) == SECURITY_SERVICE_ID_BASE_RID;
}

std::wstring textOf(const identity::Sid& sid)
{
    return sid ? sid.text() : L"unknown";
}

} // namespace

void PipeServerFacts::note(DWORD code) noexcept
{
    if (code_ == ERROR_SUCCESS)
        code_ = code;
}

void PipeServerFacts::readSecurity()
{
    if (hasSecurity_)
        return;
    hasSecurity_ = true;
    PSID owner = nullptr;
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD status = GetSecurityInfo(pipe_, SE_KERNEL_OBJECT,
        OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner, nullptr, &list, nullptr, &descriptor);
    const UniqueLocalMemory memory(descriptor);
    if (status != ERROR_SUCCESS)
        return note(status);
    owner_ = identity::Sid(owner);
    // With a right to change the list or the owner, or with an unresolved one, the first right can be had too.
    constexpr DWORD creating =
        FILE_CREATE_PIPE_INSTANCE | WRITE_DAC | WRITE_OWNER | GENERIC_WRITE | GENERIC_ALL | MAXIMUM_ALLOWED;
    creators_ = identity::granted(list, creating);
}

std::optional<identity::Sid> PipeServerFacts::owner()
{
    readSecurity();
    return owner_;
}

std::optional<std::vector<identity::Sid>> PipeServerFacts::instanceCreators()
{
    readSecurity();
    return creators_;
}

identity::Sid PipeServerFacts::caller()
{
    try {
        return identity::currentUser();
    } catch (const vosexception& failure) {
        note(failure.code());
        return {};
    }
}

Known PipeServerFacts::isCallerAdministrator()
{
    try {
        return known(identity::isAdministrator(identity::effectiveToken(TOKEN_QUERY).get()));
    } catch (const vosexception& failure) {
        note(failure.code());
        return Known::unknown;
    }
}

void PipeServerFacts::findProcess()
{
    if (hasProcess_)
        return;
    hasProcess_ = true;
    if (!GetNamedPipeServerProcessId(pipe_, &processId_)) {
        processCode_ = GetLastError();
        return note(processCode_);
    }
    // While the handle is open, the identifier cannot be given to another process.
    process_.reset(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId_));
    if (!process_) {
        processCode_ = GetLastError();
        return note(processCode_);
    }
    if (!OpenProcessToken(process_.get(), TOKEN_QUERY, token_.receive()))
        note(GetLastError());
}

void PipeServerFacts::findServices()
{
    findProcess();
    if (hasServices_ || !process_)
        return;
    hasServices_ = true;
    const UniqueService manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ENUMERATE_SERVICE));
    if (!manager)
        return note(GetLastError());
    constexpr DWORD size = 256 * 1024; // the largest that EnumServicesStatusEx takes
    std::vector<BYTE> buffer(size);
    DWORD needed = 0, count = 0, resume = 0;
    for (bool more = true; more;) {
        const bool whole = EnumServicesStatusExW(manager.get(), SC_ENUM_PROCESS_INFO, SERVICE_WIN32, SERVICE_ACTIVE,
            buffer.data(), size, &needed, &count, &resume, nullptr);
        const DWORD code = whole ? ERROR_SUCCESS : GetLastError();
        if (!whole && code != ERROR_MORE_DATA)
            return note(code);
        more = !whole && count > 0;
        const auto* const services = reinterpret_cast<const ENUM_SERVICE_STATUS_PROCESSW*>(buffer.data());
        for (DWORD index = 0; index < count; ++index) {
            const SERVICE_STATUS_PROCESS& status = services[index].ServiceStatusProcess;
            if (status.dwProcessId == processId_ && status.dwCurrentState == SERVICE_RUNNING)
                services_.push_back({services[index].lpServiceName, status.dwServiceType});
        }
    }
}

std::vector<DWORD> PipeServerFacts::serviceTypes()
{
    findServices();
    std::vector<DWORD> types(services_.size());
    std::transform(services_.begin(), services_.end(), types.begin(),
        [](const ServiceOfProcess& service) { return service.type; });
    return types;
}

Known PipeServerFacts::isImageOfPanel()
{
    findProcess();
    std::wstring image(0x8000, L'\0');
    auto length = static_cast<DWORD>(image.size());
    if (!process_ || !QueryFullProcessImageNameW(process_.get(), 0, image.data(), &length))
        return Known::unknown;
    image.resize(length);
    try {
        const std::wstring file = location::of(image), panel = location::of(config::installationDirectory());
        return file.empty() || panel.empty() ? Known::unknown : known(location::isBelow(file, panel));
    } catch (const vexception&) { // the registry names no directory
        return Known::unknown;
    }
}

Known PipeServerFacts::runsAs(const identity::Sid& account)
{
    findProcess();
    if (!token_)
        return isConfiguredFor(account);
    try {
        return known(identity::userOf(token_.get()) == account ||
                     (isServiceIdentifier(account) && identity::hasGroup(token_.get(), account)));
    } catch (const vosexception& failure) {
        note(failure.code());
        return Known::unknown;
    }
}

// An elevated prompt holds the privilege disabled that opening another account's token may need.
Known PipeServerFacts::isConfiguredFor(const identity::Sid& account)
{
    findServices();
    const UniqueService manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (!manager)
        return Known::unknown;
    for (const ServiceOfProcess& service : services_) {
        const std::wstring user = configuredAccount(manager.get(), service.name);
        if ((!user.empty() && accountOf(user) == account) || accountOf(L"NT SERVICE\\" + service.name) == account)
            return Known::yes;
    }
    return Known::unknown;
}

Known PipeServerFacts::isServerAdministrator()
{
    findProcess();
    if (!token_)
        return Known::unknown;
    try {
        return known(identity::userOf(token_.get()) == identity::Sid::wellKnown(WinLocalSystemSid) ||
                     identity::isAdministrator(token_.get()));
    } catch (const vosexception& failure) {
        note(failure.code());
        return Known::unknown;
    }
}

bool PipeServerFacts::hasServerEnded()
{
    findProcess();
    if (!PeekNamedPipe(pipe_, nullptr, 0, nullptr, nullptr, nullptr))
        return true;
    DWORD exitCode = STILL_ACTIVE;
    if (process_)
        return GetExitCodeProcess(process_.get(), &exitCode) && exitCode != STILL_ACTIVE;
    return processCode_ == ERROR_INVALID_PARAMETER; // no process has this identifier
}

std::wstring PipeServerFacts::describe()
{
    findProcess();
    identity::Sid user;
    try {
        user = token_ ? identity::userOf(token_.get()) : identity::Sid();
    } catch (const vosexception&) {
    }
    const std::wstring owner = owner_ && !*owner_ ? L"none" : textOf(owner_.value_or(identity::Sid()));
    return formatString(L"process %lu, its user %s, the pipe's owner %s (Error code %lu)", processId_,
        textOf(user).c_str(), owner.c_str(), code_);
}

} // namespace Con
