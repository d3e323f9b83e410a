#pragma once

#include "config/pipe/pipe_trust.h"

#include <string>

namespace Con {

/// Asks the system about the server of a connected pipe. Each question is asked once at most and when it is needed.
class PipeServerFacts : public IPipeServerFacts
{
public:
    /// @param pipe  a connected client end with GENERIC_READ; must outlive this object // weak
    explicit PipeServerFacts(HANDLE pipe) noexcept : pipe_(pipe) {}

    std::optional<identity::Sid> owner() override;
    identity::Sid caller() override;
    Known isCallerAdministrator() override;
    std::vector<DWORD> serviceTypes() override;
    Known isImageOfPanel() override;
    Known runsAs(const identity::Sid& account) override;
    Known isServerAdministrator() override;
    std::optional<std::vector<identity::Sid>> instanceCreators() override;

    /// Whether the server has closed its end or its process has ended.
    bool hasServerEnded();

    /// Process, its user, the pipe's owner and the first code of a question that failed, as text for a record.
    std::wstring describe();

private:
    struct ServiceOfProcess
    {
        std::wstring name;
        DWORD type;
    };

    void readSecurity();
    void findProcess();
    void findServices();
    Known isConfiguredFor(const identity::Sid& account);
    /// Keeps the first code. @param code  of the question that failed
    void note(DWORD code) noexcept;

    HANDLE pipe_; // weak
    DWORD code_ = ERROR_SUCCESS;

    bool hasSecurity_ = false;
    std::optional<identity::Sid> owner_;
    std::optional<std::vector<identity::Sid>> creators_;

    bool hasProcess_ = false;
    ULONG processId_ = 0;
    DWORD processCode_ = ERROR_SUCCESS; // why the process could not be opened
    UniqueHandle process_;
    UniqueHandle token_;

    bool hasServices_ = false;
    std::vector<ServiceOfProcess> services_;
};

} // namespace Con
