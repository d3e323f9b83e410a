#pragma once

#include "test/program.h"

/// The facts about the program's start are in several files. None cleans a directory, so they need no disk.
class Start : public ProgramRun
{
protected:
    void SetUp() override {}
};
