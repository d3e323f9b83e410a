// Whole runs that clean directories with links in them or in their paths. They need a system with links; the only
// such Wine is the one that scripts/test --links builds.

#include "test/link_run.h"

#include <algorithm>
#include <set>

namespace {

constexpr DWORD unknownTag = 0x00000123, unknownSurrogate = 0x20000123, cloudTag = 0x9000601A;

/// Of directories with entries, which only the driver of cloud files may make on Windows.
bool isOfCloud(const Node& node)
{
    return node.tag == cloudTag;
}

/// One case: the objects in the folder @ besides the canaries, and those that a run removes. All others must stay
/// unchanged.
struct Case
{
    const char* name;
    std::vector<Node> nodes;
    std::set<std::wstring> removed;     // without the objects in removed directories
    const wchar_t* complaint = L"";     // a part of a Warning or an Error; empty: no such record
    const wchar_t* dumps = L"@\\dumps"; // the directory of dumps
} const cases[] = {
    // Links in cleaned directories are removed, not followed.
    {"Junction", {junction(L"dumps\\j", L"@\\canary")}, {L"dumps\\j"}},
    {"TrustedJunction", {junction(L"dumps\\j", L"@\\canary").with(ofAdministrators)}, {L"dumps\\j"}},
    {"JunctionDeepInATree", {file(L"dumps\\x\\y\\f"), junction(L"dumps\\x\\y\\z\\j", L"@\\canary")}, {L"dumps\\x"}},
    {"JunctionToNothing", {junction(L"dumps\\j", L"@\\nothing")}, {L"dumps\\j"}},
    {"JunctionToItsOwnDirectory", {junction(L"dumps\\x\\j", L"@\\dumps\\x")}, {L"dumps\\x"}},
    {"JunctionToItself", {junction(L"dumps\\j", L"@\\dumps\\j")}, {L"dumps\\j"}},
    {"MountPointOfAVolume", {junction(L"dumps\\m", L"%"), file(L"dumps\\f")}, {L"dumps\\m", L"dumps\\f"}},
    {"DirectoryLinks",
        {directoryLink(L"dumps\\absolute", L"@\\canary"), directoryLink(L"dumps\\relative", L"..\\canary"),
            directoryLink(L"dumps\\rooted", L"#\\canary"), directoryLink(L"dumps\\x\\up", L"..\\..\\canary\\dir")},
        {L"dumps\\absolute", L"dumps\\relative", L"dumps\\rooted", L"dumps\\x"}},
    {"FileLinks",
        {fileLink(L"dumps\\absolute", L"@\\canary\\a"), fileLink(L"dumps\\relative", L"..\\canary\\a"),
            fileLink(L"dumps\\rooted", L"#\\canary\\a"), fileLink(L"dumps\\x\\nothing", L"nothing"),
            fileLink(L"dumps\\x\\up", L"..\\..\\canary\\dir\\b")},
        {L"dumps\\absolute", L"dumps\\relative", L"dumps\\rooted", L"dumps\\x"}},
    {"LinksWhereOnlyFilesAreCleaned",
        {file(L"panel\\tmp\\f"), fileLink(L"panel\\tmp\\l", L"@\\canary\\a"),
            junction(L"panel\\tmp\\j", L"@\\canary"), file(L"panel\\tmp\\kept\\f")},
        {L"panel\\tmp\\f", L"panel\\tmp\\l"}},
    {"UnknownTags",
        {taggedDirectory(L"dumps\\directory", unknownTag), taggedFile(L"dumps\\file", unknownTag),
            taggedDirectory(L"dumps\\surrogate", unknownSurrogate), taggedFile(L"dumps\\s", unknownSurrogate),
            taggedDirectory(L"dumps\\x\\surrogate", unknownSurrogate)},
        {L"dumps\\directory", L"dumps\\file", L"dumps\\surrogate", L"dumps\\s", L"dumps\\x"}},
    {"CloudDirectoryWithLinks",
        {file(L"dumps\\cloud\\f"), file(L"dumps\\cloud\\x\\f"), junction(L"dumps\\cloud\\x\\j", L"@\\canary"),
            taggedDirectory(L"dumps\\cloud\\x", cloudTag), taggedDirectory(L"dumps\\cloud", cloudTag)},
        {L"dumps\\cloud"}},

    // Links in the path of a cleaned directory are followed only if they are trusted.
    {"DirectoryIsALink", {junction(L"dumps", L"@\\canary").with(ofOthers)}, {}, L"others than the administrators"},
    {"DirectoryIsASymbolicLink", {directoryLink(L"dumps", L"canary").with(ofOthers)}, {},
        L"others than the administrators"},
    {"DirectoryIsATrustedLink",
        {file(L"real\\f"), file(L"real\\x\\f"), junction(L"real\\j", L"@\\canary"),
            junction(L"dumps", L"@\\real").with(ofAdministrators)},
        {L"real\\f", L"real\\x", L"real\\j"}},
    {"DirectoryIsATrustedSymbolicLink",
        {file(L"real\\f"), directoryLink(L"dumps", L"@\\real").with(ofAdministrators)}, {L"real\\f"}},
    {"DirectoryIsATrustedRelativeLink",
        {file(L"real\\f"), directoryLink(L"way\\dumps", L"..\\real").with(ofAdministrators)}, {L"real\\f"}, L"",
        L"@\\way\\dumps"},
    {"LinkInThePath", {file(L"canary\\dumps\\f"), junction(L"way", L"@\\canary").with(ofOthers)}, {},
        L"others than the administrators", L"@\\way\\dumps"},
    {"TrustedLinkInThePath", {file(L"real\\dumps\\f"), junction(L"way", L"@\\real").with(ofAdministrators)},
        {L"real\\dumps\\f"}, L"", L"@\\way\\dumps"},
    {"TrustedRelativeLinkInThePath",
        {file(L"real\\dumps\\f"), directoryLink(L"x\\way", L"..\\y\\..\\real").with(ofAdministrators)},
        {L"real\\dumps\\f"}, L"", L"@\\x\\way\\dumps"},
    {"TrustedRootedLinkInThePath",
        {file(L"real\\dumps\\f"), directoryLink(L"way\\in", L"#\\real").with(ofAdministrators)}, {L"real\\dumps\\f"},
        L"", L"@\\way\\in\\dumps"},
    {"RelativeLinkBehindAJunction",
        {file(L"other\\dumps\\f"), file(L"real\\other\\dumps\\f"),
            junction(L"way", L"@\\real").with(ofAdministrators),
            directoryLink(L"real\\in", L"..\\other").with(ofAdministrators)},
        {L"other\\dumps\\f"}, L"", L"@\\way\\in\\dumps"},
    {"TargetEndingInASeparator",
        {file(L"other\\dumps\\f"), file(L"real\\other\\dumps\\f"),
            directoryLink(L"way", L"@\\real\\").with(ofAdministrators),
            directoryLink(L"real\\in", L"..\\other").with(ofAdministrators)},
        {L"other\\dumps\\f"}, L"", L"@\\way\\in\\dumps"},
    {"DoubledSeparatorBeforeALink",
        {file(L"other\\dumps\\f"), file(L"way\\other\\dumps\\f"),
            directoryLink(L"way\\in", L"..\\other").with(ofAdministrators)},
        {L"other\\dumps\\f"}, L"", L"@\\way\\\\in\\dumps"},
    {"DoubledSeparatorBeforeAStepUp", {file(L"other\\dumps\\f"), file(L"way\\other\\dumps\\f")}, {L"other\\dumps\\f"},
        L"", L"@\\way\\\\..\\other\\dumps"},
    {"ChainOfTrustedLinks",
        {file(L"real\\dumps\\f"), junction(L"second", L"@\\real").with(ofAdministrators),
            directoryLink(L"first", L"second").with(ofAdministrators)},
        {L"real\\dumps\\f"}, L"", L"@\\first\\dumps"},
    {"ChainWithAnUntrustedLink",
        {file(L"canary\\dumps\\f"), junction(L"second", L"@\\canary").with(ofOthers),
            junction(L"first", L"@\\second").with(ofAdministrators)},
        {}, L"others than the administrators", L"@\\first\\dumps"},
    {"EndlessChain",
        {junction(L"first", L"@\\second").with(ofAdministrators),
            junction(L"second", L"@\\first").with(ofAdministrators)},
        {}, L"a link in its path leads nowhere", L"@\\first\\dumps"},
    {"PanelBehindALink", {file(L"canary\\tmp\\f"), junction(L"panel", L"@\\canary").with(ofOthers)}, {},
        L"others than the administrators"},
    {"ParentIsALink", {file(L"canary\\tmp\\f"), junction(L"panel\\MGX", L"@\\canary").with(ofOthers)}, {},
        L"others than the administrators"},
    {"ParentIsATrustedLink", {file(L"real\\tmp\\f"), junction(L"panel\\MGX", L"@\\real").with(ofAdministrators)},
        {L"real\\tmp\\f"}},
    {"OneUntrustedLinkAmongCleanedDirectories",
        {file(L"dumps\\f"), junction(L"panel\\MGX", L"@\\canary").with(ofOthers), file(L"panel\\PrivateTemp\\f")},
        {L"dumps\\f", L"panel\\PrivateTemp\\f"}, L"others than the administrators"},
    {"CloudDirectory", {file(L"dumps\\f"), taggedDirectory(L"dumps", cloudTag)}, {L"dumps\\f"}},
    {"LinkInALiteralPath", {file(L"canary\\dumps\\f"), junction(L"way", L"@\\canary").with(ofOthers)}, {},
        L"others than the administrators", L"\\\\?\\@\\way\\dumps"},

    // One directory that cannot be cleaned does not keep the others from it.
    {"TrustedLinkToAVolumesRoot", {junction(L"dumps", L"^").with(ofAdministrators), file(L"panel\\tmp\\f")},
        {L"panel\\tmp\\f"}, L"it is the root of a volume"},
    {"TrustedMountPointOfAVolumeWithALetter",
        {junction(L"dumps", L"%").with(ofAdministrators), file(L"panel\\tmp\\f")}, {L"panel\\tmp\\f"},
        L"it is the root of a volume"},
    {"TrustedLinkWithoutATarget",
        {taggedDirectory(L"dumps", unknownSurrogate).with(ofAdministrators), file(L"panel\\tmp\\f")},
        {L"panel\\tmp\\f"}, L"a link in its path leads nowhere"},
    {"ParentIsAFile", {file(L"panel\\MGX"), file(L"panel\\tmp\\f")}, {L"panel\\tmp\\f"}},
    {"ImpossibleName", {file(L"panel\\tmp\\f")}, {L"panel\\tmp\\f"}, L"", L"@\\a<b\\dumps"},
    {"DirectoryIsAFile", {file(L"dumps")}, {}, L"Unable to read directory"},
    {"DirectoryOfTheUtilities", {file(L"panel\\admin\\bin\\util.exe"), file(L"panel\\tmp\\f")}, {L"panel\\tmp\\f"},
        L"it lies in a directory whose content", L"@\\panel\\admin\\bin"},
    {"TrustedLinkIntoTheConfiguration",
        {file(L"panel\\etc\\x\\f"), junction(L"dumps", L"@\\panel\\etc\\x").with(ofAdministrators)}, {},
        L"it lies in a directory whose content"},
    {"DevicePath", {file(L"dumps\\f")}, {L"dumps\\f"}, L"", L"\\\\.\\@\\dumps"},

    // The trust in a link depends on its owner and on the accounts that may change it.
    {"UntrustedOwner", {junction(L"dumps", L"@\\canary").with(L"O:BUD:P(A;;FA;;;BA)")}, {},
        L"others than the administrators"},
    {"OwnedByTrustedInstaller",
        {file(L"real\\f"),
            junction(L"dumps", L"@\\real")
                .with(L"O:S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464D:P(A;;FA;;;BA)")},
        {L"real\\f"}},
    {"OthersMayWriteAttributes", {junction(L"dumps", L"@\\canary").with(L"O:BAD:P(A;;FA;;;BA)(A;;0x100;;;WD)")}, {},
        L"others than the administrators"},
    {"OthersMayChangeTheAccessList", {junction(L"dumps", L"@\\canary").with(L"O:SYD:P(A;;FA;;;BA)(A;;WD;;;AU)")}, {},
        L"others than the administrators"},
    {"OthersMayMoveIt", {junction(L"dumps", L"@\\canary").with(L"O:SYD:P(A;;FA;;;BA)(A;;SD;;;BU)")}, {},
        L"others than the administrators"},
    {"OthersMayChangeTheOwner", {junction(L"dumps", L"@\\canary").with(L"O:SYD:P(A;;FA;;;BA)(A;;WO;;;BU)")}, {},
        L"others than the administrators"},
};

/// GoogleTest prints the row's name.
void PrintTo(const Case& row, std::ostream* out)
{
    *out << row.name;
}

class Links : public LinkRun, public testing::WithParamInterface<std::tuple<Case, const wchar_t*>>
{
};

/// The removed objects, without the objects in removed directories.
std::set<std::wstring> removedBetween(const Snapshot& before, const Snapshot& after)
{
    std::set<std::wstring> removed;
    for (const auto& [path, content] : before) {
        const std::wstring parent = path.substr(0, path.rfind(L'\\'));
        if (!after.contains(path) && (parent == path || after.contains(parent)))
            removed.insert(path);
    }
    return removed;
}

} // namespace

TEST_P(Links, CauseOnlyTheExpectedRemovals)
{
    const auto& [row, system] = GetParam();
    if (system && !kit::isWine())
        GTEST_SKIP() << "only Wine can act as an older Windows";
    if (std::any_of(row.nodes.begin(), row.nodes.end(), isOfCloud) && !kit::isWine())
        GTEST_SKIP() << "only the driver of cloud files may make their directories";
    SetEnvironmentVariableW(L"WINERP_OLD", system);
    makeCanaries();
    for (const Node& node : row.nodes)
        ASSERT_TRUE(tree.make(node)) << GetLastError() << testing::PrintToString(node.path);
    const Snapshot before = tree.snapshot();
    const ChildResult result = clean(row.dumps);
    const Snapshot after = tree.snapshot();

    EXPECT_EQ(row.removed, removedBetween(before, after));
    for (const auto& [path, content] : after)
        EXPECT_TRUE(before.contains(path) && before.at(path) == content) << testing::PrintToString(path);
    const std::wstring log = root.log();
    const bool hasComplaint = log.find(L" Warning: ") != std::wstring::npos || result.exitCode != 0;
    EXPECT_EQ(row.complaint != std::wstring(), hasComplaint) << result.output << testing::PrintToString(log);
    EXPECT_NE(std::wstring::npos, log.find(row.complaint)) << testing::PrintToString(log);
}

INSTANTIATE_TEST_SUITE_P(
    Table, Links, testing::Combine(testing::ValuesIn(cases), testing::Values(nullptr, L"1")), [](const auto& row) {
        return std::string(std::get<0>(row.param).name) + (std::get<1>(row.param) ? "BeforeWindows10" : "");
    });

TEST_F(LinkRun, SparesTheDirectoryOfTheProgramBehindALinkButNotTheCurrentOne)
{
    const std::wstring program = tree.at(L"program\\mendkit.exe"),
                       inRoot = program.substr(0, 3) + L"mendkit_in_root.exe";
    ASSERT_TRUE(
        tree.make(file(L"program\\f")) && tree.make(junction(L"dumps", L"@\\program").with(ofAdministrators)));
    CopyFileW(builtProgram(L"app\\mendkit.exe").c_str(), program.c_str(), FALSE);
    const Snapshot before = tree.snapshot();
    EXPECT_EQ(0u, clean(L"@\\dumps", program).exitCode);
    EXPECT_TRUE(before == tree.snapshot());
    EXPECT_NE(std::wstring::npos, root.log().find(L"or this program needs"));

    // The directory of a program in a volume's root is "X:\\", while "X:" would be the current directory.
    CopyFileW(program.c_str(), inRoot.c_str(), FALSE);
    wchar_t current[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, current);
    ASSERT_TRUE(tree.make(file(L"current\\f")) && SetCurrentDirectoryW(tree.at(L"current").c_str()));
    EXPECT_EQ(0u, clean(L"@\\current", inRoot).exitCode);
    SetCurrentDirectoryW(current);
    EXPECT_FALSE(tree.snapshot().contains(L"current\\f"));
    DeleteFileW(inRoot.c_str());
}
