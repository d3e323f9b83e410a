#pragma once

#include "system/cleaning/cleaning_run.h"

/// Reaches the file system: the cleaning of this machine's directories; the same object at every call.
CleaningRun& machineCleaning();

/// Logs what became of the directories that were cleaned; does nothing when there were none.
void finishMachineCleaning();
