#include "runtime/com/com_error_text.h"

#include "runtime/com/com_handles.h"
#include "runtime/text/format.h"

std::wstring comErrorText(const _com_error& error)
{
    const UniqueCom<IErrorInfo> info(error.ErrorInfo()); // ErrorInfo() adds a reference for the caller
    std::wstring text = error.ErrorMessage();
    text += formatString(info ? L" (COM Interop Error %08lX" : L" (COM Error %08lX", error.Error());
    UniqueBstr description;
    if (info && SUCCEEDED(info.get()->GetDescription(description.receive())) && description)
        text += std::wstring(L", Description: ") + description.get();
    return text + L")";
}
