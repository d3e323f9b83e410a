// Services that deny questions, and names that no service can have.

#include "proof/facts/needs.h"
#include "proof/facts/temporary_service.h"
#include "test/program.h"

#include <sddl.h>

namespace {

class Service : public ProgramRun
{
protected:
    Service() { setConfig(L"SendFeedback", L"false"); }

    static ChildResult ask(const std::wstring& name) { return run(L"--get-service-status \"--name=" + name + L"\""); }

    /// Whether the program's failure has that code and names the service.
    static bool reports(const ChildResult& result, DWORD code, const std::wstring& name)
    {
        const std::string failure = "(Error code " + std::to_string(code) + ") at OpenService '" +
                                    std::string(name.begin(), name.end()) + "'";
        return result.exitCode == 1 && result.output.find(failure) != std::string::npos;
    }
};

} // namespace

TEST_F(Service, AccessDenied)
{
    SKIP_UNDER_WINE("services deny nothing");
    const TemporaryService service(L"denied", L"\"" + devpanel + L"\" service");
    EXPECT_EQ(0u, ask(service.name()).exitCode) << "the status of an ordinary service";
    // "LC" is the right 4 ("ACE Strings"): SERVICE_QUERY_STATUS ("Service Security and Access Rights")
    SECURITY_ATTRIBUTES attributes{};
    ConvertStringSecurityDescriptorToSecurityDescriptorW(
        L"D:(D;;LC;;;WD)(A;;GA;;;BA)(A;;GA;;;SY)", SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr);
    const UniqueLocalMemory rights(attributes.lpSecurityDescriptor);
    ASSERT_TRUE(SetServiceObjectSecurity(service.handle(), DACL_SECURITY_INFORMATION, rights.get()));
    const ChildResult result = ask(service.name());
    EXPECT_TRUE(reports(result, ERROR_ACCESS_DENIED, service.name()))
        << "the program does not tell that the service denies the question: " << result.output;
}

TEST_F(Service, ImpossibleNames)
{
    const UniqueService manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    for (const std::wstring& name : {std::wstring(), std::wstring(257, L'x'), std::wstring(L"a/b")}) {
        const UniqueService service(OpenServiceW(manager.get(), name.c_str(), SERVICE_QUERY_STATUS));
        const DWORD code = GetLastError();
        ASSERT_FALSE(service);
        // "OpenServiceW function": a slash is invalid. The empty name is not mentioned there. A longer name exceeds
        // the range of the remote call ("3.1.4.16 ROpenServiceW (Opnum 16)"), which may fail with a code of its own.
        EXPECT_TRUE(kit::isWine() || name != L"a/b" || code == ERROR_INVALID_NAME)
            << "the system refuses a name with a slash with another code: " << code;
        std::printf("Figure: OpenService refuses a name of %u characters with %lu\n",
            static_cast<unsigned>(name.size()), code);
        const ChildResult result = ask(name);
        if (code == ERROR_SERVICE_DOES_NOT_EXIST)
            EXPECT_NE(std::string::npos, result.output.find("\"invalid\"")) << result.output;
        else
            EXPECT_TRUE(reports(result, code, name)) << "the program hides the system's code: " << result.output;
    }
}
