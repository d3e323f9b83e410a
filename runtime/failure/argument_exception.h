#pragma once

#include "runtime/failure/vexception.h"

/// An invalid argument of a call.
class ArgumentException : public vexception
{
public:
    using vexception::vexception;
};
