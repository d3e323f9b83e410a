#pragma once

#include <cstdint>
#include <string>

/// A console application. Passes the arguments behind the command word to the command handler and turns every outcome
/// into log records and an exit code.
class vconsoleapp
{
public:
    vconsoleapp() = default;
    vconsoleapp(const vconsoleapp&) = delete;
    vconsoleapp& operator=(const vconsoleapp&) = delete;
    virtual ~vconsoleapp();

    /// The command handler. @param arguments  those behind the command word @return the exit code
    /// @throws vexception "Invalid command ..." unless overridden
    virtual std::int32_t go(std::int32_t count, const wchar_t* const* arguments);

    /// Stores the command word and calls the handler. Without a command word, shows the usage and returns 1.
    /// @return the exit code @throws vexception, or std::bad_alloc when there is no memory for a vexception
    virtual std::int32_t start(std::int32_t argc, const wchar_t* const* argv);

    /// Shows the usage. @throws vexception "Missing command parameter" unless overridden
    virtual void usage();

    /// Runs a command line and logs its start, its end and its failure. Never throws.
    /// @param argv  the process's arguments, the program first @return the exit code, 1 for every failure
    std::int32_t run(std::int32_t argc, const wchar_t* const* argv) noexcept;

    /// @param possibleCommands  the command words, one per line
    /// @throws vexception "command ... not supported. Possible commands:\n..."
    [[noreturn]] void cmdNotSupported(const std::wstring& possibleCommands) const;

protected:
    /// The command word; empty until start() has stored it.
    const std::wstring& command() const noexcept { return command_; }

private:
    std::wstring command_;
};

/// The running application, null outside of its run. Not owned. Part of the product's application interface; this
/// program only sets it.
extern vconsoleapp* theApplication;
