// A library of the product that logs.

#include "logging/log_manager.h"

extern "C" __declspec(dllexport) void logWarning(const wchar_t* text)
{
    LogManager::log(LogLevel::Warning, L"%s", text);
}
