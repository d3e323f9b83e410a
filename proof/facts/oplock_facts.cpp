// Opportunistic locks, which let another process keep an operation waiting.

#include "proof/facts/cleaning.h"
#include "system/cleaning/nt_directory_source.h"
#include "system/cleaning/open_object.h"

#include <winioctl.h>

#include <iostream>
#include <optional>

namespace {

/// A file that is open with an oplock, which is never acknowledged and ends with this object.
class Oplock
{
public:
    /// @param level  OPLOCK_LEVEL_CACHE_*
    Oplock(const std::wstring& path, DWORD level)
        : event_(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
          file_(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
              nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr))
    {
        pending_.hEvent = event_.get();
        input_.StructureVersion = REQUEST_OPLOCK_CURRENT_VERSION;
        input_.StructureLength = sizeof input_;
        input_.RequestedOplockLevel = level;
        input_.Flags = REQUEST_OPLOCK_INPUT_FLAG_REQUEST;
        // Granted: the request stays pending until the oplock breaks (Microsoft: "FSCTL_REQUEST_OPLOCK").
        const BOOL isOver = DeviceIoControl(
            file_.get(), FSCTL_REQUEST_OPLOCK, &input_, sizeof input_, &result_, sizeof result_, nullptr, &pending_);
        code_ = isOver ? ERROR_SUCCESS : GetLastError();
    }
    Oplock(const Oplock&) = delete;
    Oplock& operator=(const Oplock&) = delete;
    ~Oplock()
    {
        DWORD size = 0;
        if (code_ != ERROR_IO_PENDING)
            return;
        CancelIoEx(file_.get(), &pending_);
        GetOverlappedResult(file_.get(), &pending_, &size, TRUE); // the system writes to this object until then
    }

    bool isHeld() const { return code_ == ERROR_IO_PENDING && WaitForSingleObject(event_.get(), 0) == WAIT_TIMEOUT; }
    DWORD code() const { return code_; }

private:
    const UniqueHandle event_;
    const UniqueFile file_;
    OVERLAPPED pending_{};
    REQUEST_OPLOCK_INPUT_BUFFER input_{};
    REQUEST_OPLOCK_OUTPUT_BUFFER result_{};
    DWORD code_;
};

} // namespace

TEST_F(Cleaning, Oplock)
{
    SKIP_UNDER_WINE("no oplocks");
    NEEDS_DISK();
    ASSERT_TRUE(makeAll({file(L"dumps\\1"), file(L"dumps\\2"), file(L"dumps\\3"), file(L"panel\\tmp\\f")}));
    constexpr DWORD readHandle = OPLOCK_LEVEL_CACHE_READ | OPLOCK_LEVEL_CACHE_HANDLE;
    const Oplock first(tree.at(L"dumps\\1"), readHandle), second(tree.at(L"dumps\\2"), readHandle);
    if (!first.isHeld() || !second.isHeld())
        GTEST_SKIP() << "no oplock is granted here: " << first.code() << ", " << second.code();
    EXPECT_EQ(0u, cleanOnce());
    constexpr ULONGLONG longestCommand = 79'000; // docs/security.md
    EXPECT_GT(longestCommand, milliseconds) << "the holder of an oplock keeps the command waiting";
    EXPECT_FALSE(first.isHeld()) << "the removal broke no oplock: this run shows nothing";
    EXPECT_TRUE(exists(L"dumps\\1") && exists(L"dumps\\2"))
        << "the removal did not wait: docs/windows.md describes oplocks wrongly. " << shownLog();
    EXPECT_TRUE(hasLogged(L"another process keeps removals waiting")) << shownLog();
    EXPECT_TRUE(exists(L"dumps\\3")) << "the rest of the directory was not left alone";
    EXPECT_FALSE(exists(L"panel\\tmp\\f")) << "the next directory was not cleaned: " << shownLog();
    std::cout << "Figure: a command with two oplocks that are not acknowledged: " << milliseconds << " ms\n";
}

TEST_F(Files, AttributeOpenBreaksNoOplock)
{
    SKIP_UNDER_WINE("no oplocks");
    NEEDS_DISK();
    ASSERT_TRUE(tree.make(file(L"f")));
    NtDirectorySource source;
    OpenObject opened(source);
    std::optional<Oplock> oplock;
    bool isGranted = false, isKept = false;
    for (int patience = 20; !isKept && patience > 0; --patience) { // a scanner for viruses breaks oplocks too
        oplock.emplace(tree.at(L"f"), OPLOCK_LEVEL_CACHE_READ | OPLOCK_LEVEL_CACHE_WRITE | OPLOCK_LEVEL_CACHE_HANDLE);
        if (!oplock->isHeld()) {
            Sleep(100);
            continue;
        }
        isGranted = true;
        EXPECT_EQ(0u, source.openPlainly(tree.at(L"f"), opened.receive()));
        isKept = oplock->isHeld();
    }
    if (!isGranted)
        GTEST_SKIP() << "no oplock is granted here: " << oplock->code();
    ASSERT_TRUE(isKept) << "an open for attributes breaks an oplock, so its holder can keep it waiting";
    // An open that does break it, to show that it could.
    OpenObject folder(source);
    ASSERT_EQ(0u, source.openPlainly(tree.at(L""), folder.receive()));
    const DWORD code = source.open(folder.get(), L"f", {.remove = true}, opened.receive());
    EXPECT_FALSE(oplock->isHeld()) << "an open for removal breaks no oplock: this run shows nothing";
    EXPECT_TRUE(code == ERROR_SUCCESS || code == ERROR_SHARING_VIOLATION) << code;
}
