#include "app/last_resort.h"
#include "app/manager.h"
#include "logging/log_manager.h"
#include "logging/report/report_handler.h"
#include "system/report_helpers.h"

#include <windows.h>

#include <memory>
#include <optional>

// NOLINTNEXTLINE(misc-use-internal-linkage): the entry point, which the check knows as main only
int wmain(int argc, wchar_t** argv)
{
    installLastResort();
    // First and last: every severe record of the run passes through it.
    std::optional<SendErrorReport::LogHandler> errorReports;
    try {
        errorReports.emplace(std::make_shared<SendErrorReport::DefaultSystemHelper>());
    } catch (...) { // no memory: the command still runs, without reports
    }
    KelvoRepair::Manager manager;
    SetErrorMode(SetErrorMode(0) | SEM_NOGPFAULTERRORBOX);
    try {
        LogManager::resetSettings();
    } catch (...) { // no memory for the settings: the command still runs, and its exit code tells
    }
    theApplication = &manager;
    const int result = manager.run(argc, argv);
    theApplication = nullptr;
    return result;
}
