#include "app/last_resort.h"
#include "app/manager.h"
#include "logging/log_manager.h"
#include "logging/report/report_handler.h"
#include "system/report_helpers.h"

#include <windows.h>

#include <memory>
#include <optional>

// NOLINTNEXTLINE(misc-use-internal-linkage): the check knows main as an entry point, but not wmain
int wmain(int argc, wchar_t** argv)
{
    installLastResort();
    // Constructed first and destroyed last: it receives every severe record of the run.
    std::optional<SendErrorReport::LogHandler> errorReports;
    try {
        errorReports.emplace(std::make_shared<SendErrorReport::DefaultSystemHelper>());
    } catch (...) { // no memory: the command runs without reports
    }
    KelvoRepair::Manager manager;
    SetErrorMode(SetErrorMode(0) | SEM_NOGPFAULTERRORBOX);
    try {
        LogManager::resetSettings();
    } catch (...) { // no memory: the command runs; if its answer is lost, the exit code is 1
    }
    theApplication = &manager;
    const int result = manager.run(argc, argv);
    theApplication = nullptr;
    return result;
}
