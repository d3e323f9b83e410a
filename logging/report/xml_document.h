#pragma once

#include "runtime/com/com_handles.h"

#include <msxml2.h>

#include <string>

namespace SendErrorReport {

/// COM on the calling thread for the life of a scope, then as it was found.
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

/// An XML document, made by the system's MSXML 6. To be used on one thread.
class Document
{
public:
    using Element = UniqueCom<IXMLDOMElement>;

    /// An empty document. @throws _com_error, also when MSXML is not there
    Document();

    /// Makes an element with this text and appends it to the parent, null for the document itself. What XML cannot
    /// carry of the text (controls, halves of characters) stands there as U+FFFD.
    /// @throws _com_error
    Element append(IXMLDOMElement* parent, const wchar_t* name, const std::wstring& text);

    /// The document as UTF-8, without a declaration. @throws _com_error, vosexception
    std::string xml() const;

    IXMLDOMDocument2* get() const noexcept { return document_.get(); } // weak

private:
    ComScope com_; // first: it outlives the document
    UniqueCom<IXMLDOMDocument2> document_;
};

} // namespace SendErrorReport
