#include "runtime/operation/catch_ladder.h"

#include "runtime/com/com_error_text.h"
#include "runtime/failure/vexception.h"
#include "runtime/fault/cwrpexception.h"
#include "runtime/text/code_page.h"

#include <exception>

void rethrowAsVexception(Span& span, const RaiseSite& site, const std::wstring& context)
{
    try {
        throw;
    } catch (const std::exception& failure) {
        const std::wstring text = toWide(failure.what(), ansiCodePage);
        span.tag("std::exception", text);
        throw vexception(text, site, context);
    } catch (vexception& failure) {
        if (span.isActive())
            span.tag("vexception", failure.fullText());
        failure.append(site, context);
        throw;
    } catch (const _com_error& failure) {
        span.tag("_com_error", failure.ErrorMessage());
        throw vexception(comErrorText(failure), site, context);
    } catch (const cwrpexception& failure) {
        span.tag("cwrpexception", failure.text());
        throw vexception(failure.text(), site, context);
    } catch (...) {
        span.tag("unknown", L"...");
        throw vexception(L"Unexpected error", site, context);
    }
}
