// The operation that this version does not have yet says so.

#include "repair/adapter.h"
#include "runtime/vexception.h"

namespace KelvoRepair {

void Adapter::freeDiskSpace()
{
    throw vexception(
        L"The command is not available in this version", {"KelvoRepair::Adapter::freeDiskSpace"}, L"freeDiskSpace()");
}

} // namespace KelvoRepair
