// Calls mendkit.exe, bounds the time, checks the exit code, parses the answer, tells a failure.
//
//   call_mendkit <seconds> <full path of mendkit.exe> <command> [--name=value ...]
//
// Exit code: 0 answered, 1 mendkit tells a failure, 2 time-out, 3 no answer: not started, or not ended by itself.
// Needs Windows, C++20 and JsonCpp, nothing else. Copy the part above show().

#include <json/json.h>
#include <windows.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

/// The command has failed. what(): for people, in the system's language, UTF-8.
struct Failure : std::runtime_error
{
    using runtime_error::runtime_error;
    unsigned long code = 0; ///< of Windows; 0: none
    std::string trail;      ///< where in mendkit it happened, for its developers
};

/// mendkit has not ended in time. Nothing is known about what it has done.
struct TimeOut : std::runtime_error
{
    using runtime_error::runtime_error;
};

using Handle = std::unique_ptr<void, decltype([](HANDLE handle) { CloseHandle(handle); })>;
SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};

/// What mendkit writes. A pipe, not a file: the disk may be full.
struct Output
{
    Handle readEnd, writeEnd;
    std::string text;

    Output()
    {
        HANDLE ends[2]{};
        CreatePipe(&ends[0], &ends[1], &inheritable, 65536); // if it fails, the start does
        SetHandleInformation(ends[0], HANDLE_FLAG_INHERIT, 0);
        readEnd.reset(ends[0]);
        writeEnd.reset(ends[1]);
    }

    /// Takes what the pipe holds at this moment. Never waits, not even for the end of the output: another process,
    /// started at the same moment, may hold the pipe open.
    void drain()
    {
        DWORD size = 0;
        PeekNamedPipe(readEnd.get(), nullptr, 0, nullptr, &size, nullptr);
        std::string part(size, '\0');
        if (size > 0 && ReadFile(readEnd.get(), part.data(), size, &size, nullptr))
            text.append(part, 0, size);
    }
};

/// An argument as the called program's run time library reads it back. No shell takes part.
std::wstring quoted(const std::wstring& argument)
{
    std::wstring text = L"\"";
    std::size_t backslashes = 0; // only those before a quotation mark are doubled
    for (const wchar_t letter : argument) {
        if (letter == L'"')
            text.append(backslashes + 1, L'\\');
        backslashes = letter == L'\\' ? backslashes + 1 : 0;
        text += letter;
    }
    return text.append(backslashes, L'\\') + L'"';
}

/// Starts a program, which inherits three handles: an empty standard input, `output` and `errors`.
PROCESS_INFORMATION start(const std::wstring& program, std::wstring commandLine, HANDLE output, HANDLE errors)
{
    const Handle input(CreateFileW(
        L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable, OPEN_EXISTING, 0, nullptr));
    HANDLE handles[] = {input.get(), output, errors};
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    std::vector<char> memory(size);
    STARTUPINFOEXW startup{};
    startup.lpAttributeList = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory.data());
    startup.StartupInfo.cb = sizeof startup;
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdInput = handles[0];
    startup.StartupInfo.hStdOutput = handles[1];
    startup.StartupInfo.hStdError = handles[2];
    PROCESS_INFORMATION started{};
    if (!InitializeProcThreadAttributeList(startup.lpAttributeList, 1, 0, &size) ||
        !UpdateProcThreadAttribute(startup.lpAttributeList, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST,
            static_cast<void*>(handles), sizeof handles, nullptr, nullptr) ||
        !CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE,
            CREATE_NO_WINDOW | EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr, &startup.StartupInfo, &started))
        throw std::runtime_error("mendkit cannot be started: error " + std::to_string(GetLastError()));
    DeleteProcThreadAttributeList(startup.lpAttributeList);
    return started;
}

bool isTrail(const std::string& line)
{
    return line.rfind("   at (", 0) == 0;
}

Failure failureIn(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    std::size_t end = lines.size();
    while (end > 0 && (lines[end - 1].empty() || isTrail(lines[end - 1])))
        --end;
    std::size_t begin = end;
    while (begin > 0 && !isTrail(lines[begin - 1])) // above it is an earlier failure: the last one counts
        --begin;
    // The output of a utility that failed may look like anything, also like trails and messages.
    bool isUtility = false;
    for (std::size_t at = 0; at < end && !isUtility; ++at) {
        isUtility = lines[at].rfind("Execute ", 0) == 0 &&
                    lines[at].find(" failed with error code ") != std::string::npos &&
                    (at == 0 || lines[at - 1].empty() || isTrail(lines[at - 1]));
        if (isUtility)
            begin = at;
    }
    std::string message, trail;
    for (std::size_t at = begin; at < lines.size(); ++at)
        (at < end ? message : trail) += (at == begin || at == end ? "" : "\n") + lines[at];
    message.erase(0, message.find_first_not_of('\n'));
    Failure failure(message);
    const std::string mark = "(Error code ";
    if (const std::size_t at = message.find(mark); at != std::string::npos && !isUtility)
        failure.code = std::strtoul(message.c_str() + at + mark.size(), nullptr, 10);
    failure.trail = trail;
    return failure;
}

/// Returns the parsed answer. Throws Failure, TimeOut, or another std::exception when mendkit did not answer.
Json::Value call(const std::wstring& program, const std::vector<std::wstring>& arguments, DWORD milliseconds)
{
    std::wstring commandLine = quoted(program);
    for (const std::wstring& argument : arguments)
        commandLine += L' ' + quoted(argument);
    Output output, errors;
    const PROCESS_INFORMATION started = start(program, commandLine, output.writeEnd.get(), errors.writeEnd.get());
    const Handle process(started.hProcess), thread(started.hThread);
    const ULONGLONG begun = GetTickCount64();
    for (bool hasEnded = false; !hasEnded;) {
        hasEnded = WaitForSingleObject(process.get(), 20) == WAIT_OBJECT_0;
        output.drain(); // while it runs, because a full pipe would stop it, and once after its end
        errors.drain();
        if (hasEnded || GetTickCount64() - begun < milliseconds)
            continue;
        // A query changes nothing and may be ended. Anything else is left to end by itself and must not be repeated
        // before: the panel's utility would run on without mendkit, and may fail in the middle of a repair.
        if (!arguments.empty() && arguments[0].rfind(L"--get-", 0) == 0 && TerminateProcess(process.get(), 1))
            throw TimeOut("no answer in time; it was ended");
        throw TimeOut("no answer in time; it runs on as process " + std::to_string(started.dwProcessId));
    }
    for (std::size_t at = 0; (at = output.text.find("\r\n", at)) != std::string::npos;)
        output.text.erase(at, 1);
    DWORD code = 0;
    GetExitCodeProcess(process.get(), &code);
    if (code == 1 && output.text.find_first_not_of(" \n") != std::string::npos)
        throw failureIn(output.text);
    if (code != 0) { // 0xC0000005: a fault, 0xC000013A: Ctrl+C, others, also 1 without a text: somebody has ended it
        std::ostringstream reason;
        reason << "mendkit ended without an answer: exit code 0x" << std::hex << std::uppercase << code;
        throw std::runtime_error(reason.str() + " " + errors.text);
    }
    Json::Value answer; // its numbers are exact up to 2^64 - 1
    std::string mistakes;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!reader->parse(output.text.data(), output.text.data() + output.text.size(), &answer, &mistakes))
        throw std::runtime_error("the output is no JSON document (" + mistakes + "): " + output.text);
    return answer;
}

std::string text(const Json::Value& member)
{
    return member.isNull() ? "unknown" : member.asString();
}

void show(const std::wstring& command, const Json::Value& answer)
{
    if (command.ends_with(L"-disk-space")) {
        for (const Json::Value& volume : answer) {
            // A used beyond total is no figure: an account with a quota sees a smaller total.
            const bool isKnown = volume["used"].asUInt64() <= volume["total"].asUInt64();
            std::cout << text(volume["volume"]) << " " << text(volume["free"]) << " of " << text(volume["total"])
                      << " bytes free, used: " << (isKnown ? text(volume["used"]) : "unknown") << "\n";
        }
    } else if (command.ends_with(L"-system-resources")) {
        for (const char* const name : {"memory", "swap"})
            std::cout << name << ": " << text(answer[name]["free"]) << " of " << text(answer[name]["total"])
                      << " bytes free\n";
    } else if (command == L"--reboot") {
        std::cout << text(answer["message"]) << "\n";
    } else {
        std::cout << text(answer["name"]) << ": " << text(answer["status"]) << "\n";
    }
}

} // namespace

int wmain(int count, wchar_t** words)
try {
    if (count < 3)
        throw std::runtime_error("call_mendkit <seconds> <full path of mendkit.exe> <command> [--name=value ...]");
    const auto limit = static_cast<DWORD>(1000 * std::wcstod(words[1], nullptr));
    show(count > 3 ? words[3] : L"", call(words[2], {words + 3, words + count}, limit));
    return 0;
} catch (const Failure& failure) { // decide by the exit code and the failure's code, never by words
    const std::string code = failure.code == 0 ? "none" : std::to_string(failure.code);
    std::cerr << "failure: " << failure.what() << "\ncode: " << code << "\n" << failure.trail << "\n";
    return 1;
} catch (const TimeOut& timeOut) {
    std::cerr << "time-out: " << timeOut.what() << "\n";
    return 2;
} catch (const std::exception& reason) {
    std::cerr << "no answer: " << reason.what() << "\n";
    return 3;
}
