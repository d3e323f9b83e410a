#include "runtime/com/com_error_text.h"
#include "runtime/failure/vosexception.h"
#include "runtime/operation/operation.h"
#include "test/failure.h"

TEST(OsError, HasAClassForTheCodesThatCallersTellApart)
{
    const auto raise = [](DWORD code) { throwOsError(code, L"x", {"f"}); };
    EXPECT_THROW(raise(2), VFileNotFoundException);
    EXPECT_THROW(raise(3), VPathNotFoundException);
    EXPECT_THROW(raise(5), VAccessDeniedException);
    EXPECT_THROW(raise(32), VSharingViolationException);
    EXPECT_THROW(raise(1060), VServiceDoesNotExistException);
}

TEST(CatchLadder, TurnsEveryKindOfFailureIntoAVexception)
{
    struct Row
    {
        void (*raise)();
        std::wstring message; // of the vexception
    };
    for (const auto& [raise, message] : std::initializer_list<Row>{
             {[] { throw std::bad_alloc(); }, L"std::bad_alloc"}, {[] { throw vexception(L"own", {"g"}); }, L"own"},
             {[] { throw _com_error(static_cast<HRESULT>(0x8004f123)); },
                 L"IDispatch error #61219 (COM Error 8004F123)"},
             {[] { throw 5; }, L"Unexpected error"}}) {
        const auto describe = [] { return std::wstring(L"f(x)"); };
        const std::wstring text = failureOf([&] { operation({"K::f", 7}, describe, [&](Span&) { raise(); }); });
        EXPECT_EQ(message, messageIn(text));
        EXPECT_TRUE(text.ends_with(L"\n   at (K::f line 7) f(x)")) << text;
    }
}
