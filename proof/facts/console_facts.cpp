// Text at a console.

#include "proof/facts/needs.h"
#include "test/hidden_console.h"
#include "test/program.h"

namespace {

class Console : public ProgramRun
{
};

} // namespace

TEST_F(Console, CodePages)
{
    HiddenConsole console;
    ASSERT_TRUE(console) << "no console of a process without a window";
    for (const UINT codePage : {437u, 850u, 65001u}) {
        if (!SetConsoleOutputCP(codePage)) {
            std::printf("Figure: code page %u is not installed\n", codePage);
            continue;
        }
        console.clear();
        EXPECT_EQ(0u, run(L"--get-service-status --name=\x416\x20ac", false).exitCode);
        const std::wstring screen = console.text(4);
        EXPECT_NE(std::wstring::npos, screen.find(L"\"name\" : \"\x416\x20ac\","))
            << "the console shows another text in code page " << codePage << ": " << testing::PrintToString(screen);
    }
}
