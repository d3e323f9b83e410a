#include "app/manager.h"

#include "app/params.h"
#include "app/print_console.h"
#include "app/restart_delay.h"
#include "logging/log_manager.h"
#include "repair/adapter.h"
#include "runtime/failure/vexception.h"
#include "system/default_system_helper.h"

#include <memory>

namespace KelvoRepair {

namespace {

using namespace std::string_view_literals;

/// The arguments of a command's function.
struct Call
{
    Manager& manager;
    Adapter& adapter;
    const Params& params;
};

struct Command
{
    const wchar_t* word;
    void (*execute)(const Call& call);
};

/// Writes a command's answer to standard output. @throws vexception when it was not written completely
void answer(const std::wstring& document)
{
    LogManager::log(LogLevel::Result, L"%s", document.c_str());
    if (!LogManager::isStandardOutputIntact())
        throw vexception(L"Unable to write the answer to standard output", {"KelvoRepair::Manager::go"});
}

constexpr Command commands[] = {
    {L"--help", [](const Call& call) { call.manager.usage(); }},
    {L"--get-service-status",
        [](const Call& call) {
            call.params.check(L"--name\0"sv, {});
            answer(call.adapter.getServiceStatus(call.params.get(L"--name")));
        }},
    {L"--repair-kelvo-sql-server",
        [](const Call& call) {
            call.adapter.repairKelvoSqlServer();
            answer(call.adapter.getServiceStatus(L"KelvoSQLServer"));
        }},
    {L"--get-system-resources", [](const Call& call) { answer(call.adapter.getSystemResources()); }},
    {L"--free-system-resources",
        [](const Call& call) {
            call.adapter.freeSystemResources();
            answer(call.adapter.getSystemResources());
        }},
    {L"--get-disk-space", [](const Call& call) { answer(call.adapter.getDiskSpace()); }},
    {L"--free-disk-space",
        [](const Call& call) {
            call.adapter.freeDiskSpace();
            answer(call.adapter.getDiskSpace());
        }},
    {L"--reboot",
        [](const Call& call) {
            call.params.check(L"--timeout\0"sv, {});
            answer(call.adapter.reboot(restartDelay(call.params.get(L"--timeout"))));
        }},
};

} // namespace

std::int32_t Manager::go(std::int32_t count, const wchar_t* const* arguments)
{
    const ParameterMap parameters = parseParameters(count, arguments);
    const Params params(parameters);
    Adapter adapter(std::make_shared<KelvoRepairAdapter::DefaultSystemHelper>());

    std::wstring possibleCommands;
    for (const Command& row : commands) {
        possibleCommands += possibleCommands.empty() ? L"" : L"\n";
        possibleCommands += L"   ";
        possibleCommands += row.word;
        if (command() == row.word) {
            row.execute({*this, adapter, params});
            return 0;
        }
    }
    cmdNotSupported(possibleCommands);
}

void Manager::usage()
{
    printConsole(L"\nusage: mendkit [options] ...\n\n\n--help\n\n--get-service-status --name=<service>\n"
                 L"--repair-kelvo-sql-server\n\n--get-system-resources\n--free-system-resources\n\n"
                 L"--get-disk-space\n--free-disk-space\n\n--reboot --timeout=<seconds>\n");
}

} // namespace KelvoRepair
