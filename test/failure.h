#pragma once

#include "runtime/failure/vexception.h"

#include <gtest/gtest.h>

/// The full text, trail included, of the exception that a call throws. Exceptions of other classes are not caught.
template <typename Exception = vexception, typename Call>
std::wstring failureOf(const Call& call)
{
    try {
        call();
    } catch (const Exception& failure) {
        return failure.fullText();
    }
    return L"nothing thrown";
}

/// The message of a full text, without the trail.
inline std::wstring messageIn(const std::wstring& fullText)
{
    return fullText.substr(0, fullText.find(L"\n   at ("));
}
