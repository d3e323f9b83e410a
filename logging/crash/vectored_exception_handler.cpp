#include "logging/crash/vectored_exception_handler.h"

VectoredExceptionHandler::~VectoredExceptionHandler()
{
    if (handle_)
        RemoveVectoredExceptionHandler(handle_);
}
