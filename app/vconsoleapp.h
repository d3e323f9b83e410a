#pragma once

#include <cstdint>
#include <string>

/// A console application: takes the command word from the command line, hands the rest to the application's
/// handler, and turns every outcome into log records and one exit code.
class vconsoleapp
{
public:
    vconsoleapp() = default;
    vconsoleapp(const vconsoleapp&) = delete;
    vconsoleapp& operator=(const vconsoleapp&) = delete;
    virtual ~vconsoleapp();

    /// The command handler. @param arguments  what stands behind the command word @return the exit code
    /// @throws vexception "Invalid command ..." unless overridden
    virtual std::int32_t go(std::int32_t count, const wchar_t* const* arguments);

    /// Takes the command word and calls the handler; without one shows the usage. @return the exit code
    /// @throws vexception; std::bad_alloc where there is no memory left to make one
    virtual std::int32_t start(std::int32_t argc, const wchar_t* const* argv);

    /// Shows how to call the program. @throws vexception "Missing command parameter" unless overridden
    virtual void usage();

    /// Runs one command line from its first log record to its last. Never throws.
    /// @param argv  the process's arguments, the program first @return the exit code, 1 for every failure
    std::int32_t run(std::int32_t argc, const wchar_t* const* argv) noexcept;

    /// @param possibleCommands  shown to the user, one a line
    /// @throws vexception "command ... not supported. Possible commands:\n..."
    [[noreturn]] void cmdNotSupported(const std::wstring& possibleCommands) const;

protected:
    /// Empty until start() has taken it.
    const std::wstring& command() const noexcept { return command_; }

private:
    std::wstring command_;
};

/// The running application, null outside of its run. Not owned.
extern vconsoleapp* theApplication;
