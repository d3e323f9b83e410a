#pragma once

#include "test/links.h"
#include "test/program.h"

#include <cstdlib>

/// The program beside a management service that tells of a panel in @\panel (test/links.h).
class LinkRun : public ProgramRun
{
protected:
    void SetUp() override
    {
        if (tree.canLink())
            return;
        ASSERT_EQ(nullptr, std::getenv("MENDKIT_LINKS")) << "this Wine should have links, and has none";
        GTEST_SKIP() << "No links can be made here (under Wine: scripts/test --links)";
    }

    /// Files where the links of the cases lead.
    void makeCanaries() const
    {
        for (const wchar_t* canary : {L"canary\\a", L"canary\\dir\\b", L"canary\\dir\\sub\\c"})
            ASSERT_TRUE(tree.make(file(canary))) << GetLastError();
    }

    /// The management service. @param dumps  the directory of dumps, @ and # expanded
    std::unique_ptr<vexecutil> servePanel(const wchar_t* dumps) const
    {
        const wchar_t* const pipe = L"links";
        setConfig(L"zrmpipe", pipe);
        setConfig(L"Debug", 1);
        setConfig(L"SendFeedback", L"false");
        return serve(L"0", pipe, tree.expanded(L"@\\panel \"" + std::wstring(dumps) + L"\""));
    }

    /// One run of the cleaning.
    ChildResult clean(const wchar_t* dumps, const std::wstring& program = builtProgram(L"app\\mendkit.exe")) const
    {
        const auto service = servePanel(dumps);
        const ChildResult result = runChild(program, L"--free-disk-space");
        service->terminate();
        return result;
    }

    const LinkTree tree;
};
