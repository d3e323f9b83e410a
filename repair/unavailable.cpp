// Operations that this version does not have yet: each says so.

#include "repair/adapter.h"
#include "runtime/format.h"
#include "runtime/vexception.h"

namespace KelvoRepair {

namespace {

[[noreturn]] void unavailable(const char* function, const std::wstring& call)
{
    throw vexception(L"The command is not available in this version", {function}, call);
}

} // namespace

void Adapter::repairKelvoSqlServer()
{
    unavailable("KelvoRepair::Adapter::repairKelvoSqlServer", L"repairKelvoSqlServer()");
}

std::wstring Adapter::getSystemResources()
{
    unavailable("KelvoRepair::Adapter::getSystemResources", L"getSystemResources()");
}

void Adapter::freeSystemResources()
{
    unavailable("KelvoRepair::Adapter::freeSystemResources", L"freeSystemResources()");
}

std::wstring Adapter::getDiskSpace()
{
    unavailable("KelvoRepair::Adapter::getDiskSpace", L"getDiskSpace()");
}

void Adapter::freeDiskSpace()
{
    unavailable("KelvoRepair::Adapter::freeDiskSpace", L"freeDiskSpace()");
}

std::wstring Adapter::reboot(std::uint32_t timeoutSeconds)
{
    unavailable("KelvoRepair::Adapter::reboot", formatString(L"reboot(%lu)", timeoutSeconds));
}

} // namespace KelvoRepair
