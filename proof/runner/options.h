#pragma once

#include <string>

/// The command line of the kit.
struct Options
{
    std::wstring drive;               // --volume V: an empty volume instead of a virtual disk
    std::wstring report;              // --report FILE
    std::wstring only;                // --only TEXT: the facts whose names contain it
    bool mayEmptyWindowsTemp = false; // --empty-windows-temp
    bool isHelp = false;              // --help
    bool isList = false;              // --list
    bool isClean = false;             // --clean
    std::string objection;            // why the command line is wrong; empty when it is right
};

/// Reads the arguments without the program's name.
Options readOptions(int count, const wchar_t* const* arguments);

/// The help.
extern const char usageOfKit[];
