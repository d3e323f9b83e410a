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
             {L"X:\\panel\\chain", untrustedLink}, {L"X:\\panel\\loop", ERROR_CANT_RESOLVE_FILENAME},
             {L"X:\\panel\\file", ERROR_DIRECTORY}, {L"X:\\panel\\file\\below", ERROR_PATH_NOT_FOUND},
             {L"X:\\panel\\none", ERROR_FILE_NOT_FOUND}, {L"X:", ERROR_BAD_PATHNAME}}) {
        DirectoryAt opened{OpenObject(source), {}};
        EXPECT_EQ(row.code, openCleanedDirectory(source, row.path, opened)) << testing::PrintToString(row.path);
        EXPECT_EQ(row.code == ERROR_SUCCESS ? L"\\vol\\other\\moved" : L"", opened.location)
            << testing::PrintToString(row.path);
    }
}
