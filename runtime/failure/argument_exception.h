#pragma once

#include "runtime/failure/vexception.h"

/// A caller's argument that the called function cannot work with.
class ArgumentException : public vexception
{
public:
    using vexception::vexception;
};
