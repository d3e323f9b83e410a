#pragma once

#include "test/program.h"

// Suites whose facts are in several files. GoogleTest wants one class for each suite.

class Log : public ProgramRun
{
};

class Cost : public ProgramRun
{
};
