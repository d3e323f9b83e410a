#include "system/process/child_handles.h"

#include "runtime/failure/vosexception.h"

namespace {

UniqueFile openInheritable(const std::wstring& path, DWORD access, DWORD disposition)
{
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    UniqueFile file(CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, disposition,
        FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        throwLastError({L"CreateFile '", path, L"'"}, {"vexecutil::start"});
    return file;
}

/// An inheritable duplicate; empty for an empty or invalid handle.
UniqueFile inheritableCopy(HANDLE handle)
{
    HANDLE copy = nullptr;
    const HANDLE self = GetCurrentProcess();
    if (!handle || handle == INVALID_HANDLE_VALUE ||
        !DuplicateHandle(self, handle, self, &copy, 0, TRUE, DUPLICATE_SAME_ACCESS))
        return UniqueFile();
    return UniqueFile(copy);
}

} // namespace

StandardHandles standardHandles(const ChildStreams& streams)
{
    StandardHandles chosen;
    auto& [input, output, error] = chosen.handles;
    if (streams.stdinPipe)
        input = chosen.own(streams.stdinPipe->create(ExecPipe::Direction::toChild));
    else if (!streams.stdinFile.empty())
        input = chosen.own(openInheritable(streams.stdinFile, GENERIC_READ, OPEN_EXISTING));
    else
        input = chosen.own(inheritableCopy(GetStdHandle(STD_INPUT_HANDLE)));

    if (streams.stdoutPipe)
        output = chosen.own(streams.stdoutPipe->create(ExecPipe::Direction::fromChild));
    else if (!streams.stdoutFile.empty())
        output = chosen.own(openInheritable(streams.stdoutFile, GENERIC_WRITE, OPEN_ALWAYS));
    else
        output = chosen.own(inheritableCopy(GetStdHandle(STD_OUTPUT_HANDLE)));

    if (streams.stderrPipe)
        error = chosen.own(streams.stderrPipe->create(ExecPipe::Direction::fromChild));
    else if (streams.stderrToStdout)
        error = chosen.own(inheritableCopy(output));
    else if (!streams.stderrFile.empty())
        error = chosen.own(openInheritable(streams.stderrFile, GENERIC_WRITE, OPEN_ALWAYS));
    else
        error = chosen.own(inheritableCopy(GetStdHandle(STD_ERROR_HANDLE)));
    return chosen;
}

HandleList::HandleList(const std::array<HANDLE, 3>& handles)
{
    for (const HANDLE handle : handles) {
        if (handle)
            handles_.push_back(handle);
    }
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    memory_.resize(size);
    if (!InitializeProcThreadAttributeList(get(), 1, 0, &size))
        throwLastError({L"InitializeProcThreadAttributeList"}, {"vexecutil::start"});
    if (!handles_.empty() &&
        !UpdateProcThreadAttribute(get(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, static_cast<void*>(handles_.data()),
            handles_.size() * sizeof(HANDLE), nullptr, nullptr)) {
        const DWORD code = GetLastError();
        DeleteProcThreadAttributeList(get());
        throwOsError(code, L"UpdateProcThreadAttribute", {"vexecutil::start"});
    }
}
