#pragma once

#include "runtime/failure/vexception.h"

#include <gtest/gtest.h>

/// The whole text, trail included, of the failure that a call throws. Another class than this goes on to GoogleTest.
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

/// The message alone.
inline std::wstring messageIn(const std::wstring& fullText)
{
    return fullText.substr(0, fullText.find(L"\n   at ("));
}
