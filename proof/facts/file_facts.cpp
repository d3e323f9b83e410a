// What the file system promises to everything that opens and writes files.

#include "proof/facts/cleaning.h"
#include "system/cleaning/nt_directory_source.h"
#include "system/cleaning/open_object.h"

#include <set>
#include <thread>

namespace {

constexpr int writers = 8, lines = 500;
constexpr std::size_t lineSize = 200;

/// Writes lines as the logs do: at the offset of all ones, without a lock.
void appendLines(const std::wstring& path, const std::string& word)
{
    const UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
        nullptr, OPEN_EXISTING, 0, nullptr));
    for (int number = 0; number < lines; ++number) {
        std::string line = word + " " + std::to_string(number) + " ";
        line.resize(lineSize - 1, '.');
        line += '\n';
        OVERLAPPED atEnd{};
        atEnd.Offset = atEnd.OffsetHigh = 0xffffffff;
        DWORD written = 0;
        ASSERT_TRUE(WriteFile(file.get(), line.data(), static_cast<DWORD>(line.size()), &written, &atEnd));
    }
}

} // namespace

TEST_F(Files, Append)
{
    SKIP_UNDER_WINE("an append is a seek and a write");
    const std::wstring path = root.path() + L"\\appended";
    std::ofstream(path.c_str()).close();
    std::vector<std::thread> threads; // the file system knows handles, not processes
    for (int writer = 0; writer < writers; ++writer)
        threads.emplace_back(appendLines, path, std::to_string(writer));
    for (std::thread& thread : threads)
        thread.join();
    const std::string all = readFile(path);
    EXPECT_EQ(lineSize * writers * lines, all.size()) << "an append overwrote another one";
    std::set<std::string> found;
    for (std::size_t at = 0; at + lineSize <= all.size(); at += lineSize) {
        const std::string line = all.substr(at, lineSize);
        ASSERT_EQ(lineSize - 1, line.find('\n')) << "a line was split: " << line;
        found.insert(line);
    }
    EXPECT_EQ(std::size_t{writers * lines}, found.size()) << "lines are missing";
}

TEST_F(Files, FullNames)
{
    SKIP_UNDER_WINE("dots and blanks at the end of a name are missing");
    const std::wstring names[] = {L"dot.", L"blank ", L". .", L"a..", L"nul"};
    NtDirectorySource source;
    OpenObject folder(source), opened(source);
    ASSERT_EQ(0u, source.openPlainly(tree.at(L""), folder.receive()));
    std::wstring base, location;
    ASSERT_EQ(0u, source.locationOf(folder.get(), base));
    for (const std::wstring& name : names) {
        const std::wstring path = L"\\\\?\\" + tree.at(name);
        ASSERT_TRUE(UniqueFile(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr)));
        ASSERT_EQ(0u, source.open(folder.get(), name, {.remove = true}, opened.receive()));
        EXPECT_EQ(0u, source.locationOf(opened.get(), location));
        EXPECT_EQ(base + L"\\" + name, location) << "the object's name is not its full name";
        EXPECT_EQ(0u, source.remove(opened.get()));
        opened.close();
    }
}
