#pragma once

#include "runtime/com/com_handles.h"

#include <msxml2.h>

#include <string>

namespace SendErrorReport {

/// Initialises COM on the calling thread for the life of the object.
class ComScope
{
public:
    /// @throws _com_error, vosexception
    ComScope();
    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;
    ~ComScope();

private:
    HRESULT result_;
};

/// An XML document of MSXML 6. Use on one thread only.
class Document
{
public:
    using Element = UniqueCom<IXMLDOMElement>;

    /// An empty document. @throws _com_error, also when MSXML 6 is not installed
    Document();

    /// Appends an element with this text. Characters that XML does not allow (controls, unpaired surrogates) become
    /// U+FFFD. @param parent  null for the document itself @throws _com_error
    Element append(IXMLDOMElement* parent, const wchar_t* name, const std::wstring& text);

    /// The document as UTF-8, without a declaration. @throws _com_error, vosexception
    std::string xml() const;

    /// For the tests, which parse reports with it.
    IXMLDOMDocument2* get() const noexcept { return document_.get(); } // weak

private:
    ComScope com_; // first member: destroyed after the document
    UniqueCom<IXMLDOMDocument2> document_;
};

} // namespace SendErrorReport
