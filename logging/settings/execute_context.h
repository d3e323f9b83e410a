#pragma once

#include "logging/settings/log_settings.h"

#include <cstdint>

/// What the modules of the product in one process share. Each module exports a pointer to it; whoever comes
/// first makes it, the others find it through the exports, so that a loaded library logs with the program's
/// settings. Field by field as every module knows it.
struct ExecuteContext
{
    void* runtimeObject; // made with the context; logging does not use it
    void* lazyObject;    // made by others on demand
    LogSettings* logSettings;
    std::int64_t references;

    /// The process's context, found or made at the first call; released when this module ends.
    /// @throws std::bad_alloc
    static ExecuteContext& get();

    /// The shared settings. @param[out] created true when this call made them: all switches off, no handlers
    static LogSettings& settings(bool& created);
};
