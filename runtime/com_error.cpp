#include "runtime/com_error.h"

#include "runtime/format.h"
#include "runtime/unique.h"

namespace {

struct ErrorInfoTraits
{
    using Type = IErrorInfo*;
    static Type empty() noexcept { return nullptr; }
    static void close(Type info) noexcept { info->Release(); }
};

struct BstrTraits
{
    using Type = BSTR;
    static Type empty() noexcept { return nullptr; }
    static void close(Type text) noexcept { SysFreeString(text); }
};

} // namespace

std::wstring comErrorText(const _com_error& error)
{
    const Unique<ErrorInfoTraits> info(error.ErrorInfo()); // comes with a reference of its own
    std::wstring text = error.ErrorMessage();
    text += formatString(info ? L" (COM Interop Error %08lX" : L" (COM Error %08lX", error.Error());
    Unique<BstrTraits> description;
    if (info && SUCCEEDED(info.get()->GetDescription(description.receive())) && description)
        text += std::wstring(L", Description: ") + description.get();
    return text + L")";
}
