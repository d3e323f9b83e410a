#pragma once

#include "logging/settings/log_settings.h"

#include <cstdint>

/// The record that the modules of the product in one process share, so that a loaded library logs with the program's
/// settings. Each module exports a pointer to it. The layout is the same in every module.
struct ExecuteContext
{
    void* runtimeObject; // created with the context; not used by logging
    void* lazyObject;    // created by other modules on demand
    LogSettings* logSettings;
    std::int64_t references;

    /// The process's context, found or created at the first call, released when this module ends.
    /// @throws std::bad_alloc
    static ExecuteContext& get();

    /// The shared settings. @param[out] created  true when this call made them, all switches off and no handlers
    static LogSettings& settings(bool& created);
};
