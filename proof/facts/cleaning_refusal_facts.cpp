// Directories that are not cleaned, however their paths are spelt, and volumes that are mounted in a directory.

#include "proof/facts/cleaning.h"

#include <winioctl.h>

#include <fstream>

namespace {

/// A volume that is mounted at a path during this object's lifetime. @param path  with a backslash at its end
class Mount
{
public:
    Mount(std::wstring path, const std::wstring& volume)
        : path_(std::move(path)), isMade_(SetVolumeMountPointW(path_.c_str(), volume.c_str()) != FALSE)
    {
    }
    Mount(const Mount&) = delete;
    Mount& operator=(const Mount&) = delete;
    ~Mount()
    {
        if (isMade_)
            DeleteVolumeMountPointW(path_.c_str());
    }
    bool isMade() const { return isMade_; }

private:
    const std::wstring path_;
    const bool isMade_;
};

/// Lets a volume make short names (8.3) during this object's lifetime.
class ShortNamesOn
{
public:
    explicit ShortNamesOn(const std::wstring& drive)
        : volume_(CreateFileW((L"\\\\.\\" + drive).c_str(), GENERIC_READ | GENERIC_WRITE,
              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr))
    {
        DWORD size = 0;
        info_.FlagMask = PERSISTENT_VOLUME_STATE_SHORT_NAME_CREATION_DISABLED;
        info_.Version = 1;
        isKnown_ = DeviceIoControl(volume_.get(), FSCTL_QUERY_PERSISTENT_VOLUME_STATE, &info_, sizeof info_, &info_,
                       sizeof info_, &size, nullptr) != FALSE;
        set(0);
    }
    ShortNamesOn(const ShortNamesOn&) = delete;
    ShortNamesOn& operator=(const ShortNamesOn&) = delete;
    ~ShortNamesOn() { set(info_.VolumeFlags); }

private:
    void set(DWORD flags)
    {
        FILE_FS_PERSISTENT_VOLUME_INFORMATION wanted{
            flags, PERSISTENT_VOLUME_STATE_SHORT_NAME_CREATION_DISABLED, 1, 0};
        DWORD size = 0;
        if (isKnown_)
            DeviceIoControl(
                volume_.get(), FSCTL_SET_PERSISTENT_VOLUME_STATE, &wanted, sizeof wanted, nullptr, 0, &size, nullptr);
    }

    const UniqueFile volume_;
    FILE_FS_PERSISTENT_VOLUME_INFORMATION info_{};
    bool isKnown_ = false;
};

wchar_t freeLetter()
{
    const DWORD used = GetLogicalDrives();
    wchar_t letter = L'Z';
    while (letter > L'D' && (used & (1u << (letter - L'A'))) != 0)
        --letter;
    return letter;
}

} // namespace

TEST_F(Cleaning, MountedVolume)
{
    NEEDS_DISK();
    NEEDS_BARE_VOLUME();
    ASSERT_TRUE(makeAll({directory(L"dumps"), directory(L"second")}));
    const Mount mount(tree.at(L"dumps\\"), kit::bareVolume());
    ASSERT_TRUE(mount.isMade()) << GetLastError();
    ASSERT_TRUE(tree.protect(L"dumps", ofAdministrators)) << GetLastError(); // of the link, not of the volume
    const std::wstring volume = kit::bareVolume();
    const auto fill = [&] {
        for (const wchar_t* name : {L"x", L"System Volume Information", L"$RECYCLE.BIN"})
            CreateDirectoryW((volume + name).c_str(), nullptr); // the system may have made the last two
        std::ofstream((volume + L"f").c_str()) << "x";
        std::ofstream((volume + L"x\\f").c_str()) << "x";
    };
    const auto isThere = [&](const wchar_t* name) {
        return GetFileAttributesW((volume + name).c_str()) != INVALID_FILE_ATTRIBUTES;
    };
    fill();
    EXPECT_EQ(0u, cleanOnce());
    EXPECT_TRUE(!isThere(L"f") && !isThere(L"x")) << "a mounted volume was not emptied: " << shownLog();
    EXPECT_TRUE(isThere(L"System Volume Information") && isThere(L"$RECYCLE.BIN"))
        << "a directory of the system in the root of a mounted volume was removed";

    fill();
    const std::wstring letter = {freeLetter(), L':', L'\\'};
    for (const std::wstring& other : {tree.at(L"second\\"), letter}) {
        DeleteFileW(root.logFile(L"debug").c_str());
        const Mount second(other, volume);
        ASSERT_TRUE(second.isMade()) << GetLastError();
        EXPECT_EQ(0u, cleanOnce());
        EXPECT_TRUE(isThere(L"f") && isThere(L"x\\f")) << "a volume that has another mount point was emptied";
        EXPECT_TRUE(hasLogged(L"it is the root of a volume")) << shownLog();
    }
    DeleteFileW((volume + L"f").c_str());
    DeleteFileW((volume + L"x\\f").c_str());
    RemoveDirectoryW((volume + L"x").c_str());
}

TEST_F(Cleaning, NeededOverAShare)
{
    NEEDS_DISK();
    ASSERT_TRUE(makeAll({file(L"panel\\admin\\x\\f"), file(L"panel\\tmp\\f"), file(L"dumps\\f")}));
    // The volume's administrative share. A share of the kit's own might open the machine's firewall for shares.
    const std::wstring shared = L"\\\\localhost\\" + kit::drive().substr(0, 1) + L"$" + tree.expanded(L"#");
    if (GetFileAttributesW((shared + L"\\dumps").c_str()) == INVALID_FILE_ATTRIBUTES)
        GTEST_SKIP() << "the volume's administrative share cannot be opened: " << GetLastError();
    for (const wchar_t* needed : {L"\\panel", L"\\panel\\admin", L"\\panel\\admin\\x"}) {
        EXPECT_EQ(0u, cleanOnce((shared + needed).c_str()));
        EXPECT_TRUE(exists(L"panel\\admin\\x\\f"))
            << "a needed directory was emptied: " << testing::PrintToString(shared + needed) << shownLog();
        EXPECT_TRUE(hasLogged(L"' is left alone: it ") || hasLogged(L"is not one that may be emptied"))
            << testing::PrintToString(shared + needed) << shownLog();
        DeleteFileW(root.logFile(L"debug").c_str());
    }
}

TEST_F(Cleaning, ShortNames)
{
    const ShortNamesOn shortNames(tree.expanded(L"^").substr(0, 2));
    ASSERT_TRUE(makeAll({file(L"long name of the panel\\admin\\x\\f"), directory(L"dumps")}));
    wchar_t found[MAX_PATH] = L"";
    const std::wstring panel = tree.at(L"long name of the panel");
    GetShortPathNameW(panel.c_str(), found, MAX_PATH);
    const std::wstring name = found;
    if (name.find(L'~') == std::wstring::npos)
        GTEST_SKIP() << "the volume makes no short names";
    setConfig(L"PRODUCT_DATA_D", panel);
    EXPECT_EQ(0u, cleanOnce(name.c_str()));
    EXPECT_TRUE(exists(L"long name of the panel\\admin\\x\\f"))
        << "a needed directory was emptied: " << testing::PrintToString(name);
    EXPECT_TRUE(hasLogged(L"it holds a directory that the system, the panel or this program needs")) << shownLog();
}

TEST_F(Cleaning, DeniedEntries)
{
    SKIP_UNDER_WINE("no access checks");
    ASSERT_TRUE(makeAll({file(L"dumps\\denied\\f"), file(L"dumps\\other\\f"), file(L"panel\\tmp\\f")}));
    // Neither the file nor its directory lets it be removed.
    ASSERT_TRUE(tree.protect(L"dumps\\denied\\f", L"D:P(D;;SD;;;WD)(A;;FA;;;WD)") &&
                tree.protect(L"dumps\\denied", L"D:P(D;;DCSD;;;WD)(A;;FA;;;WD)") &&
                tree.protect(L"dumps", L"D:P(D;;DC;;;WD)(A;;FA;;;WD)"))
        << GetLastError();
    EXPECT_EQ(0u, cleanOnce());
    EXPECT_TRUE(exists(L"dumps\\denied\\f")) << "the system removed what its access list protects: the fact is wrong";
    EXPECT_TRUE(hasLogged(L"Unable to remove path")) << "an entry that stayed has no record: " << shownLog();
    EXPECT_FALSE(exists(L"dumps\\other\\f")) << "a denied entry kept others from being removed: " << shownLog();
    EXPECT_FALSE(exists(L"panel\\tmp\\f"))
        << "a denied entry kept another directory from being cleaned: " << shownLog();
}

TEST_F(Cleaning, DeniedDirectory)
{
    const struct
    {
        const char* name;
        bool isHeld; // open without sharing, else denied by its access list
    } rows[] = {{"open without sharing", true}, {"denied", false}};
    for (const auto& [name, isHeld] : rows) {
        if (!isHeld && kit::isWine())
            continue; // no access checks
        tree.clear();
        ASSERT_TRUE(makeAll({file(L"dumps\\f"), file(L"panel\\tmp\\f")}));
        UniqueFile held;
        if (isHeld)
            held.reset(CreateFileW(tree.at(L"dumps").c_str(), FILE_LIST_DIRECTORY, 0, nullptr, OPEN_EXISTING,
                FILE_FLAG_BACKUP_SEMANTICS, nullptr));
        else
            ASSERT_TRUE(tree.protect(L"dumps", L"D:P(D;;FA;;;WD)")) << GetLastError();
        EXPECT_EQ(1u, cleanOnce()) << name << ": a directory that cannot be read is no failure: " << shownLog();
        EXPECT_NE(std::string::npos, output.find("Unable to read directory")) << name << output;
        EXPECT_TRUE(exists(L"panel\\tmp\\f")) << name << ": the command went on after the failure";
        DeleteFileW(root.logFile(L"debug").c_str());
    }
}

TEST_F(Cleaning, MovedDirectories)
{
    SKIP_UNDER_WINE("no access checks");
    NEEDS_ACCOUNT();
    ASSERT_TRUE(tree.make(file(L"theirs\\dir\\f")));
    makeOpenDirectory(L"dumps");
    ASSERT_TRUE(tree.protect(L"theirs\\dir\\f", forAdministrators) &&
                tree.protect(L"theirs\\dir", L"D:P(A;OICI;FA;;;BA)(A;;SDRCFR;;;WD)") &&
                tree.protect(L"theirs", L"D:P(A;;FA;;;BA)(A;;FRFX;;;WD)"))
        << GetLastError();
    {
        const AsOtherAccount account;
        ASSERT_FALSE(tree.open(L"theirs\\dir\\f", DELETE)) << "the file's list does not protect it";
        ASSERT_TRUE(movesPatiently(L"theirs\\dir", L"dumps\\dir"))
            << "the right to delete a directory does not move it";
    }
    EXPECT_EQ(0u, cleanOnce());
    EXPECT_FALSE(exists(L"dumps\\dir")) << "docs/security.md says that the content is removed: " << shownLog();
}
