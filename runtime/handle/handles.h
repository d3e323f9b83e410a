#pragma once

#include "runtime/handle/unique.h"

#include <windows.h>

// Owners of system objects, one traits class for each kind: kinds differ in the empty value and in the closing call.

struct HandleTraits
{
    using Type = HANDLE;
    static Type empty() noexcept { return nullptr; }
    static void close(Type handle) noexcept { CloseHandle(handle); }
};
/// Processes, threads, tokens, mutexes, events: empty is null.
using UniqueHandle = Unique<HandleTraits>;

struct FileTraits
{
    using Type = HANDLE;
    static Type empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void close(Type handle) noexcept { CloseHandle(handle); }
};
/// Files and pipe ends: empty is INVALID_HANDLE_VALUE.
using UniqueFile = Unique<FileTraits>;

struct RegistryKeyTraits
{
    using Type = HKEY;
    static Type empty() noexcept { return nullptr; }
    static void close(Type key) noexcept { RegCloseKey(key); }
};
using UniqueRegistryKey = Unique<RegistryKeyTraits>;

struct ServiceTraits
{
    using Type = SC_HANDLE;
    static Type empty() noexcept { return nullptr; }
    static void close(Type handle) noexcept { CloseServiceHandle(handle); }
};
/// The service control manager and services.
using UniqueService = Unique<ServiceTraits>;

struct LocalMemoryTraits
{
    using Type = void*;
    static Type empty() noexcept { return nullptr; }
    static void close(Type memory) noexcept { LocalFree(memory); }
};
/// Memory that the system allocated for the caller, to be freed with LocalFree.
using UniqueLocalMemory = Unique<LocalMemoryTraits>;
