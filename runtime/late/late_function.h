#pragma once

#include <windows.h>

#include <atomic>

/// A system DLL, loaded at the first call of one of its functions: a run that calls none does not pay for it. It
/// comes from the system directory, whatever lies beside the program or in the current directory. It stays loaded
/// until the process ends, as its functions, and the objects and threads that they make, may be in use until then.
class LateLibrary
{
public:
    constexpr explicit LateLibrary(const wchar_t* name) noexcept : name_(name) {}

    const wchar_t* name() const noexcept { return name_; }
    bool isLoaded() const noexcept { return module_.load() != nullptr; }

    /// @return null, and the reason as the last error, when it cannot be loaded
    HMODULE load() noexcept;

private:
    const wchar_t* name_;
    std::atomic<HMODULE> module_ = nullptr;
};

/// Where a function of such a DLL lies, whatever its signature. Looked up once; by any number of threads at a time,
/// since all of them find the same.
class LateAddress
{
public:
    constexpr LateAddress(LateLibrary& library, const char* name) noexcept : library_(library), name_(name) {}

    /// @throws vosexception "LoadLibrary '<DLL>'", "GetProcAddress '<DLL>' '<function>'"
    void* get();

    /// @return null, and the reason as the last error, when it cannot be had
    void* find() noexcept;

private:
    LateLibrary& library_;
    const char* name_;
    std::atomic<void*> address_ = nullptr;
};

template <typename Signature>
class LateFunction;

/// A function that is bound at its first call. (Import libraries that do so leave it to the linker where the
/// addresses are kept, and some linkers keep them in memory that is read-only.)
template <typename Result, typename... Arguments>
class LateFunction<Result(Arguments...)> : private LateAddress
{
public:
    using LateAddress::LateAddress;

    /// @throws vosexception as LateAddress::get
    Result operator()(Arguments... arguments) { return typed(get())(arguments...); }

    /// For destructors. What a function that cannot be bound would have released ends with the process.
    void tryCall(Arguments... arguments) noexcept
    {
        if (void* const address = find())
            typed(address)(arguments...);
    }

private:
    static auto typed(void* address) noexcept { return reinterpret_cast<Result (*)(Arguments...)>(address); }
};
