#include "system/panel/util_exec_log.h"

#include "logging/log_manager.h"
#include "logging/sink/log_file.h"
#include "runtime/module.h"
#include "runtime/operation/call_text.h"
#include "runtime/operation/operation.h"
#include "runtime/text/format.h"
#include "runtime/text/mask.h"

void writeToUtilExecLog(
    bool isStart, const std::wstring& path, const std::wstring& arguments, std::uint32_t elapsed) noexcept
{
    // The text is part of the interface with the panel's log readers; do not correct.
    const auto describe = callText(L"Unabale to call writeToUtilExecLog()"); // sic
    try {
        operation({"writeToUtilExecLog"}, describe, [&](Span&) {
            const std::wstring milliseconds = isStart ? std::wstring() : std::to_wstring(elapsed);
            LogFile(L"util_exec", false)
                .write(formatString(L"execUtil(%s)\t%s\t%s\t%s\t%s\n", isStart ? L"Start" : L"End",
                    moduleFileName().c_str(), path.c_str(), maskArguments(arguments).c_str(), milliseconds.c_str()));
        });
    } catch (const vexception& failure) {
        LogManager::log(LogLevel::Warning, failure); // an Error would also go to standard output
    } catch (...) {                                  // no memory for the failure itself
    }
}
