#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

/// Parameter name, as typed with its dashes, to value; ordered by UTF-16 code units.
using ParameterMap = std::map<std::wstring, std::wstring, std::less<>>;

/// Cuts each argument at its first "=" into name and value; no "=" gives an empty value. The last of equal
/// names counts. Nothing is trimmed or rejected. A count below 1 gives an empty map.
ParameterMap parseParameters(std::int32_t count, const wchar_t* const* arguments);

/// Names, each ended by a zero character, the whole ended by an empty name or the end of the text; an empty
/// text means no names: L"--name\0--timeout\0".
using NameList = std::wstring_view;

/// Checks a command's parameters. Refers to the map, which must outlive it.
class Params
{
public:
    explicit Params(const ParameterMap& parameters) noexcept : parameters_(parameters) {}

    /// Returns when every required name is there and every name is required, optional or internal.
    /// @throws vexception "Missing required parameter ...", else "Unexpected parameter ..."
    void check(NameList required, NameList optional) const;

    /// The value of `name`; when it is absent, `defaultValue` unless it is required.
    /// @throws vexception "Missing required parameter ..."
    std::wstring get(const std::wstring& name, bool required, const std::wstring& defaultValue) const;
    /// The value of a required parameter.
    std::wstring get(const std::wstring& name) const { return get(name, true, {}); }

    /// @throws vexception always
    [[noreturn]] void reportMissingParameter(const std::wstring& name, NameList required, NameList optional) const;

    /// "Possible parameters:" and one line a name, optional ones in brackets; empty without names.
    std::wstring describeParameters(NameList required, NameList optional) const;

private:
    const ParameterMap& parameters_;
};
