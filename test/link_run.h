#pragma once

#include "test/links.h"
#include "test/program.h"

#include <cstdlib>

/// Skips a test where no links can be made.
#define NEEDS_LINKS()                                                                                                \
    if (!tree.canLink()) {                                                                                           \
        ASSERT_EQ(nullptr, std::getenv("MENDKIT_LINKS")) << "this Wine has no links, but should";                    \
        GTEST_SKIP() << "No links can be made here (under Wine: scripts/test --links)";                              \
    }

/// Runs the program with a management service that names @\panel as the installation directory (@: see test/links.h).
class TreeRun : public ProgramRun
{
protected:
    void SetUp() override
    {
        ProgramRun::SetUp();
        if (!IsSkipped() && !tree.exists())
            GTEST_SKIP() << "there is no volume for trees that are cleaned";
    }

    /// Makes files in the directory to which the links of the cases lead.
    void makeCanaries() const
    {
        for (const wchar_t* canary : {L"canary\\a", L"canary\\dir\\b", L"canary\\dir\\sub\\c"})
            ASSERT_TRUE(tree.make(file(canary))) << GetLastError();
    }

    /// Starts the management service. @param dumps  the directory of dumps; @ and # are expanded
    std::unique_ptr<vexecutil> servePanel(const wchar_t* dumps) const
    {
        const wchar_t* const pipe = L"links";
        setConfig(L"zrmpipe", pipe);
        setConfig(L"Debug", 1);
        setConfig(L"SendFeedback", L"false");
        return serve(L"0", pipe, tree.expanded(L"@\\panel \"" + std::wstring(dumps) + L"\""));
    }

    /// Runs the cleaning once.
    ChildResult clean(const wchar_t* dumps, const std::wstring& program = builtProgram(L"app\\mendkit.exe")) const
    {
        const auto service = servePanel(dumps);
        const ChildResult result = runChild(program, L"--free-disk-space");
        terminate(*service);
        return result;
    }

    const LinkTree tree;
};

/// The same, on a system with links.
class LinkRun : public TreeRun
{
protected:
    void SetUp() override
    {
        TreeRun::SetUp();
        if (!IsSkipped())
            NEEDS_LINKS()
    }
};
