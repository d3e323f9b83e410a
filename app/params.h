#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

/// Maps a parameter's name, as typed with its dashes, to its value. Ordered by UTF-16 code units.
using ParameterMap = std::map<std::wstring, std::wstring, std::less<>>;

/// Splits each argument at its first "=" into name and value. Without "=" the value is empty. A repeated name keeps
/// its last value. Nothing is trimmed or rejected. A count below 1 gives an empty map.
ParameterMap parseParameters(std::int32_t count, const wchar_t* const* arguments);

/// Names that each end in a zero character, such as L"--name\0--timeout\0". The list ends with an empty name or with
/// the text. An empty text holds no names.
using NameList = std::wstring_view;

/// Checks and reads a command's parameters. The map is not owned and must outlive the object.
class Params
{
public:
    explicit Params(const ParameterMap& parameters) noexcept : parameters_(parameters) {}

    /// Checks that all required names are present, then that every other name is optional or
    /// "--internal-package-name".
    /// @throws vexception "Missing required parameter ..." or "Unexpected parameter ..."
    void check(NameList required, NameList optional) const;

    /// The value of `name`, or `defaultValue` when the name is absent and not required.
    /// @throws vexception "Missing required parameter ..." when it is absent and required
    std::wstring get(const std::wstring& name, bool required, const std::wstring& defaultValue) const;
    /// The value of a required parameter.
    std::wstring get(const std::wstring& name) const { return get(name, true, {}); }

    /// @throws vexception always
    [[noreturn]] void reportMissingParameter(const std::wstring& name, NameList required, NameList optional) const;

    /// "Possible parameters:" and one line per name, optional names in brackets. Empty when there are no names.
    std::wstring describeParameters(NameList required, NameList optional) const;

private:
    const ParameterMap& parameters_;
};
