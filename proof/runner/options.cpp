#include "proof/runner/options.h"

const char usageOfKit[] =
    "Usage: prove.cmd [option...]\n"
    "Runs the tests of mendkit on this machine and writes a report. Needs an elevated prompt and a machine without\n"
    "the panel.\n"
    "  --volume V:           uses this empty volume instead of making a virtual disk\n"
    "  --empty-windows-temp  runs also the facts that empty this machine's Windows\\Temp\n"
    "  --only TEXT           runs only the facts whose names contain TEXT\n"
    "  --report FILE         the report's name; prove-report.txt in the current directory without it\n"
    "  --list                lists the facts and ends\n"
    "  --clean               removes what an interrupted run has left and ends\n"
    "The exit code is 0 when no fact failed, 1 when one failed, 2 when nothing was run.\n";

Options readOptions(int count, const wchar_t* const* arguments)
{
    Options options;
    options.report = L"prove-report.txt";
    for (int at = 0; at < count; ++at) {
        const std::wstring word = arguments[at];
        std::wstring* const value = word == L"--volume"   ? &options.drive
                                    : word == L"--report" ? &options.report
                                    : word == L"--only"   ? &options.only
                                                          : nullptr;
        if (value && at + 1 < count && *arguments[at + 1])
            *value = arguments[++at];
        else if (word == L"--empty-windows-temp")
            options.mayEmptyWindowsTemp = true;
        else if (word == L"--help" || word == L"/?")
            options.isHelp = true;
        else if (word == L"--list")
            options.isList = true;
        else if (word == L"--clean")
            options.isClean = true;
        else
            options.objection = value ? "An option lacks its value." : "An option is unknown.";
    }
    return options;
}
