#include "app/last_resort.h"
#include "app/manager.h"
#include "logging/log_manager.h"

#include <windows.h>

int wmain(int argc, wchar_t** argv)
{
    installLastResort();
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
