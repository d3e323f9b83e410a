#pragma once

#include "test/imports.h"

#include <gtest/gtest.h>

#include <cstring>

/// Replaces a function that this program imports, for a scope. For calls whose arguments or failures cannot be tested
/// otherwise under Wine.
class ReplacedImport
{
public:
    /// @param name  as imported, such as "RegisterEventSourceW"
    template <typename Function>
    ReplacedImport(const char* name, Function* replacement) : entry_(find(name))
    {
        EXPECT_TRUE(entry_) << name << " is not imported";
        original_ = setImport(entry_, reinterpret_cast<void*>(replacement));
    }
    ReplacedImport(const ReplacedImport&) = delete;
    ReplacedImport& operator=(const ReplacedImport&) = delete;
    ~ReplacedImport() { setImport(entry_, original_); }

private:
    static void** find(const char* name)
    {
        void** found = nullptr;
        visitImports(
            [&](const char* imported, void** entry) { found = strcmp(imported, name) == 0 ? entry : found; });
        return found;
    }

    void** entry_;
    void* original_ = nullptr;
};
