#include "logging/crash/heap_corruption_handler.h"

HeapCorruptionHandler::HeapCorruptionHandler(structured_exception::Observer record) noexcept
    : VectoredExceptionHandler(routine)
{
    record_ = record;
}

HeapCorruptionHandler::~HeapCorruptionHandler()
{
    record_ = nullptr;
}

// Every C++ throw of the process calls this routine, so it tests the code first.
LONG HeapCorruptionHandler::routine(EXCEPTION_POINTERS* pointers)
{
    if (pointers->ExceptionRecord->ExceptionCode == code && record_)
        record_(pointers);
    return EXCEPTION_CONTINUE_SEARCH;
}
