#include "system/cleaning/directory_walk.h"

#include "test/scripted_directory_source.h"

#include <gtest/gtest.h>

TEST(DirectoryWalk, EndsWhereThePathLeadsOverTrustedLinksOnly)
{
    ScriptedSource source;
    Node* const other = source.add(source.volume, L"other");
    Node* const moved = source.add(other, L"moved");
    Node* const panel = source.add(source.volume, L"panel");
    const auto link = [&](const wchar_t* name, const wchar_t* target, bool isTrusted) {
        source.link(panel, name, moved, target)->isTrusted = isTrusted;
    };
    source.add(source.add(panel, L"other"), L"moved");
    source.add(panel, L"file", ObjectKind::file);
    link(L"trusted", L"\\\\?\\X:\\other\\moved", true);
    link(L"relative", L"..\\other\\moved", true);
    link(L"rooted", L"\\other\\moved", true);
    link(L"ending in a separator", L"\\\\?\\X:\\other\\", true);
    link(L"foreign", L"\\\\?\\X:\\other\\moved", false);
    link(L"chain", L"\\\\?\\X:\\panel\\foreign", true);
    link(L"loop", L"\\\\?\\X:\\panel\\loop", true);
    source.link(other, L"back", moved, L"..\\other\\moved")->isTrusted = true;

    struct Row
    {
        const wchar_t* path;
        DWORD code = ERROR_SUCCESS; // then it ends in \other\moved
    };
    for (const Row& row : {Row{L"X:\\other\\moved"}, {L"X:\\\\other\\\\moved\\"}, {L"X:\\panel\\trusted"},
             {L"X:\\panel\\relative\\"}, {L"X:\\panel\\rooted"}, {L"X:\\panel\\\\relative"},
             {L"X:\\panel\\ending in a separator\\moved"}, {L"X:\\panel\\ending in a separator\\back"},
             {L"X:\\panel\\foreign", untrustedLink}, {L"X:\\panel\\foreign\\below", untrustedLink},
             {L"X:\\panel\\chain", untrustedLink}, {L"X:\\panel\\loop", cannotBeFollowed},
             {L"X:\\panel\\file", ERROR_DIRECTORY}, {L"X:\\panel\\file\\below", ERROR_PATH_NOT_FOUND},
             {L"X:\\panel\\none", ERROR_FILE_NOT_FOUND}, {L"X:", ERROR_BAD_PATHNAME}, {L"X:\\", isVolumeRoot}}) {
        WalkedDirectory opened{{OpenObject(source), {}}, {}};
        EXPECT_EQ(row.code, openCleanedDirectory(source, row.path, opened)) << testing::PrintToString(row.path);
        EXPECT_EQ(row.code == ERROR_SUCCESS ? L"\\vol\\other\\moved" : L"", opened.at.location)
            << testing::PrintToString(row.path);
    }
}

TEST(DirectoryWalk, RefusesADirectoryThatIsNotTheSystemsOwn)
{
    ScriptedSource source;
    Node* const walked = source.add(source.volume, L"walked");
    const struct
    {
        const wchar_t* what;
        Node* plainly;
        bool tellsIds;
        DWORD code;
    } rows[] = {{L"the same", walked, true, ERROR_SUCCESS},
        {L"another", source.add(source.volume, L"another"), true, leadsDifferently},
        {L"no identities", source.volume, false, ERROR_SUCCESS}};
    for (const auto& [what, plainly, tellsIds, code] : rows) {
        source.plainly[L"X:\\walked"] = plainly;
        source.tellsIds = tellsIds;
        WalkedDirectory opened{{OpenObject(source), {}}, {}};
        EXPECT_EQ(code, openCleanedDirectory(source, L"X:\\walked", opened)) << testing::PrintToString(what);
    }
}

TEST(DirectoryWalk, EndsInAVolumesRootOnlyAtItsOnlyMountPoint)
{
    using Paths = std::vector<std::wstring>;
    const std::wstring name = L"\\\\?\\Volume{1}\\";
    const struct
    {
        const wchar_t* what;
        const wchar_t* path;
        std::wstring target;
        Paths mounts;
        DWORD code = isVolumeRoot;
    } rows[] = {{L"its only mount point", L"X:\\mount", name, {L"x:\\Mount\\"}, ERROR_SUCCESS},
        {L"a drive letter too", L"X:\\mount", name, {L"X:\\mount\\", L"D:\\"}},
        {L"only a drive letter", L"X:\\mount", name, {L"D:\\"}},
        {L"another mount point", L"X:\\mount", name, {L"X:\\other\\"}}, {L"mounted nowhere", L"X:\\mount", name, {}},
        {L"a link to a drive", L"X:\\mount", L"\\\\?\\D:\\", {L"X:\\mount\\"}},
        {L"a link to the mount point", L"X:\\link", L"\\\\?\\X:\\mount", {L"X:\\mount\\"}, ERROR_SUCCESS},
        {L"up to the root", L"X:\\mount", name + L"in\\..", {L"X:\\mount\\"}}};
    for (const auto& [what, path, target, mounts, code] : rows) {
        ScriptedSource source;
        Node* const root = source.add(source.volume, L"mounted");
        source.volumes[name] = source.volumes[L"\\\\?\\D:\\"] = root;
        const bool isDirect = path == std::wstring(L"X:\\mount");
        source.link(source.volume, L"mount", root, isDirect ? target : name)->isTrusted = true;
        source.link(source.volume, L"link", root, L"\\\\?\\X:\\mount")->isTrusted = true;
        source.mounts = mounts;
        WalkedDirectory opened{{OpenObject(source), {}}, {}};
        EXPECT_EQ(code, openCleanedDirectory(source, path, opened)) << testing::PrintToString(what);
        EXPECT_EQ(code == ERROR_SUCCESS, opened.isRoot) << testing::PrintToString(what);
    }
}
