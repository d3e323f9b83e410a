#include "logging/report/xml_document.h"

#include "runtime/late/late_imports.h"
#include "runtime/text/code_page.h"

#include <comdef.h>

#include <new>

namespace SendErrorReport {

namespace {

// MinGW-w64 has no library that defines these.
constexpr CLSID classDomDocument60 = {0x88d96a05, 0xf192, 0x11d4, {0xa6, 0x5f, 0x00, 0x40, 0x96, 0x32, 0x51, 0xe5}};
constexpr IID interfaceDomDocument2 = {0x2933bf95, 0x7b36, 0x11d2, {0xb2, 0x0e, 0x00, 0xc0, 0x4f, 0x98, 0x3e, 0x60}};

void check(HRESULT result)
{
    if (FAILED(result))
        throw _com_error(result);
}

UniqueBstr toBstr(const std::wstring& text)
{
    UniqueBstr result(late::SysAllocStringLen(text.data(), static_cast<UINT>(text.size())));
    if (!result)
        throw std::bad_alloc();
    return result;
}

/// Whether XML 1.0 allows the UTF-16 unit at this index.
bool isXml(const std::wstring& text, std::size_t at)
{
    const wchar_t unit = text[at];
    if (IS_HIGH_SURROGATE(unit))
        return at + 1 < text.size() && IS_LOW_SURROGATE(text[at + 1]);
    if (IS_LOW_SURROGATE(unit))
        return at > 0 && IS_HIGH_SURROGATE(text[at - 1]);
    return unit < L' ' ? unit == L'\t' || unit == L'\n' || unit == L'\r' : unit < 0xfffe;
}

std::wstring xmlText(const std::wstring& text)
{
    std::wstring result = text;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (!isXml(text, at))
            result[at] = 0xfffd;
    }
    return result;
}

} // namespace

ComScope::ComScope() : result_(late::CoInitializeEx(nullptr, COINIT_MULTITHREADED))
{
    // The thread is already initialised with the other COM threading model, which serves as well.
    if (result_ != RPC_E_CHANGED_MODE)
        check(result_);
}

ComScope::~ComScope()
{
    if (SUCCEEDED(result_))
        late::CoUninitialize.tryCall();
}

Document::Document()
{
    check(late::CoCreateInstance(classDomDocument60, nullptr, CLSCTX_SERVER, interfaceDomDocument2,
        reinterpret_cast<void**>(document_.receive())));
    check(late::OleRun(document_.get()));
}

Document::Element Document::append(IXMLDOMElement* parent, const wchar_t* name, const std::wstring& text)
{
    Element element;
    check(document_.get()->createElement(toBstr(name).get(), element.receive()));
    check(element.get()->put_text(toBstr(xmlText(text)).get()));
    IXMLDOMNode* const target = parent ? static_cast<IXMLDOMNode*>(parent) : document_.get();
    UniqueCom<IXMLDOMNode> added;
    check(target->appendChild(element.get(), added.receive()));
    return element;
}

std::string Document::xml() const
{
    UniqueBstr text;
    check(document_.get()->get_xml(text.receive()));
    return toNarrow({text.get(), late::SysStringLen(text.get())}, utf8CodePage);
}

} // namespace SendErrorReport
