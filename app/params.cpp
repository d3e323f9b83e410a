#include "app/params.h"

#include "runtime/failure/vexception.h"

#include <algorithm>
#include <vector>

namespace {

std::vector<std::wstring_view> namesOf(NameList list)
{
    std::vector<std::wstring_view> names;
    while (!list.empty() && list.front() != L'\0') {
        const std::wstring_view name = list.substr(0, list.find(L'\0'));
        names.push_back(name);
        list.remove_prefix(std::min(name.size() + 1, list.size()));
    }
    return names;
}

bool contains(NameList list, std::wstring_view name)
{
    const std::vector<std::wstring_view> names = namesOf(list);
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// One line per name, the name between `before` and `after`.
std::wstring joined(NameList list, const wchar_t* before, const wchar_t* after)
{
    std::wstring text;
    for (const std::wstring_view name : namesOf(list)) {
        text += text.empty() ? L"" : L"\n";
        text.append(before).append(name).append(after);
    }
    return text;
}

std::wstring missing(const std::wstring& name, const std::wstring& possible)
{
    return L"Missing required parameter " + name + L". " + possible;
}

} // namespace

ParameterMap parseParameters(std::int32_t count, const wchar_t* const* arguments)
{
    ParameterMap parameters;
    for (std::int32_t index = 0; index < count; ++index) {
        const std::wstring_view argument = arguments[index];
        const std::size_t equals = argument.find(L'=');
        const std::wstring_view value =
            equals == std::wstring_view::npos ? std::wstring_view() : argument.substr(equals + 1);
        parameters.insert_or_assign(std::wstring(argument.substr(0, equals)), std::wstring(value));
    }
    return parameters;
}

// The lines of these raise sites are fixed: part of the interface with the panel's log readers; do not correct.
void Params::check(NameList required, NameList optional) const
{
    for (const std::wstring_view name : namesOf(required)) {
        if (!parameters_.contains(name)) {
            throw vexception(
                missing(std::wstring(name), describeParameters(required, optional)), {"Params::check", 72});
        }
    }
    for (const auto& [name, value] : parameters_) {
        const bool internal = name == L"--internal-package-name"; // added to any command by the package system
        if (!internal && !contains(required, name) && !contains(optional, name)) {
            throw vexception(L"Unexpected parameter " + name + L". " + describeParameters(required, optional),
                {"Params::check", 105});
        }
    }
}

std::wstring Params::get(const std::wstring& name, bool required, const std::wstring& defaultValue) const
{
    const auto found = parameters_.find(name);
    if (found != parameters_.end())
        return found->second;
    if (required)
        reportMissingParameter(name, {}, {});
    return defaultValue;
}

void Params::reportMissingParameter(const std::wstring& name, NameList required, NameList optional) const
{
    throw vexception(missing(name, describeParameters(required, optional)), {"Params::reportMissingParameter", 39});
}

std::wstring Params::describeParameters(NameList required, NameList optional) const
{
    const std::wstring heading = L"Possible parameters:\n";
    const std::wstring requiredNames = joined(required, L"    ", L"");
    const std::wstring optionalNames = joined(optional, L"    [", L"]");
    std::wstring text;
    if (!requiredNames.empty())
        text = heading + requiredNames;
    if (!optionalNames.empty())
        text += (text.empty() ? heading : L"\n") + optionalNames;
    return text;
}
