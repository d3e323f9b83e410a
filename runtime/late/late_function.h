#pragma once

#include <windows.h>

#include <atomic>

/// A system DLL, loaded at the first call of one of its functions, so that runs that call none start faster. It is
/// loaded from the system directory only. It is never unloaded: its functions, objects and threads may be in use
/// until the process ends.
class LateLibrary
{
public:
    constexpr explicit LateLibrary(const wchar_t* name) noexcept : name_(name) {}

    const wchar_t* name() const noexcept { return name_; }
    bool isLoaded() const noexcept { return module_.load() != nullptr; }

    /// Loads the DLL unless it is loaded. @return null when that fails; GetLastError() gives the reason
    HMODULE load() noexcept;

private:
    const wchar_t* name_;
    std::atomic<HMODULE> module_ = nullptr;
};

/// The address of a function of a late library, looked up at the first use. Thread-safe.
class LateAddress
{
public:
    constexpr LateAddress(LateLibrary& library, const char* name) noexcept : library_(library), name_(name) {}

    /// @throws vosexception "LoadLibrary '<DLL>'", "GetProcAddress '<DLL>' '<function>'"
    void* get();

    /// @return null when the function cannot be bound; GetLastError() gives the reason
    void* find() noexcept;

private:
    LateLibrary& library_;
    const char* name_;
    std::atomic<void*> address_ = nullptr;
};

template <typename Signature>
class LateFunction;

/// A function that is bound at its first call. Replaces the linker's delay-load imports: some linkers put their
/// addresses into read-only memory, where the first call faults.
template <typename Result, typename... Arguments>
class LateFunction<Result(Arguments...)> : private LateAddress
{
public:
    using LateAddress::LateAddress;

    /// @throws vosexception as LateAddress::get
    Result operator()(Arguments... arguments) { return typed(get())(arguments...); }

    /// For destructors: does nothing when the function cannot be bound. The object that it should release then lives
    /// until the process ends.
    void tryCall(Arguments... arguments) noexcept
    {
        if (void* const address = find())
            typed(address)(arguments...);
    }

private:
    static auto typed(void* address) noexcept { return reinterpret_cast<Result (*)(Arguments...)>(address); }
};
