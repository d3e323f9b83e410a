#pragma once

#include "proof/facts/needs.h"
#include "proof/facts/other_account.h"
#include "test/link_run.h"

#include <optional>

/// Access lists of what the facts make: any account may do anything; or the administrators alone.
inline constexpr wchar_t forAll[] = L"D:P(A;OICI;FA;;;WD)",
                         forAdministrators[] = L"O:BAD:P(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";

/// Facts about the cleaning: runs of the program on trees that are made for them (@: see test/links.h).
class Cleaning : public TreeRun
{
protected:
    ~Cleaning() override { EXPECT_TRUE(!log_ || HasFailure() || !log_->empty()) << "the command has logged nothing"; }

    /// Makes objects. @return whether all of them are there
    bool makeAll(const std::vector<Node>& nodes) const
    {
        for (const Node& node : nodes) {
            if (!tree.make(node)) {
                ADD_FAILURE() << "not made: " << testing::PrintToString(node.path) << ", " << GetLastError();
                return false;
            }
        }
        return true;
    }

    /// Makes a directory in which every account may do anything, and a directory of the canaries.
    void makeOpenDirectory(const wchar_t* path) const
    {
        ASSERT_TRUE(tree.make(directory(path)) && tree.protect(path, forAll)) << GetLastError();
    }

    bool exists(const std::wstring& path) const
    {
        return static_cast<bool>(tree.open(path, FILE_READ_ATTRIBUTES)) || GetLastError() == ERROR_SHARING_VIOLATION;
    }

    /// Renames what a scanner for viruses may have open for a moment, because it was just made.
    bool movesPatiently(const std::wstring& from, const std::wstring& to) const
    {
        for (int patience = 50; patience > 0 && !tree.rename(from, to); --patience)
            Sleep(100);
        return static_cast<bool>(tree.open(to, FILE_READ_ATTRIBUTES));
    }

    /// Cleans once and reads the log. @return the exit code
    std::uint32_t cleanOnce(const wchar_t* dumps = L"@\\dumps")
    {
        const ULONGLONG begun = GetTickCount64();
        const ChildResult result = clean(dumps);
        milliseconds = GetTickCount64() - begun;
        output = result.output;
        log_ = root.log();
        return result.exitCode;
    }

    /// Whether a record of the last run has this text.
    bool hasLogged(const std::wstring& text) const { return log_ && log_->find(text) != std::wstring::npos; }
    bool hasComplained() const { return hasLogged(L" Warning: ") || hasLogged(L" Error: "); }
    std::string shownLog() const { return output + testing::PrintToString(log_.value_or(L"")); }

    /// Acts as the kit's ordinary account where there is one.
    static std::unique_ptr<AsOtherAccount> asOrdinaryAccount()
    {
        return AsOtherAccount::refusal().empty() ? std::make_unique<AsOtherAccount>() : nullptr;
    }

    ULONGLONG milliseconds = 0; // that the last run took
    std::string output;

private:
    std::optional<std::wstring> log_;
};

/// Facts about the file system's own behaviour, in a folder of the kit's volume.
class Files : public TreeRun
{
};
