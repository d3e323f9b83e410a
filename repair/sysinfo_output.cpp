#include "repair/sysinfo_output.h"

#include "repair/json_text.h"
#include "runtime/text/letter_case.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cwchar>
#include <cwctype>
#include <string_view>

namespace {

/// The low 32 bits of the truncated percentage; 0 for "nan" and for a figure beyond 64 bits.
std::uint32_t percent(float load)
{
    constexpr float limit = 9223372036854775808.0F; // 2 to the 63rd
    const float scaled = load * 100.0F;
    const bool fits = scaled >= -limit && scaled < limit; // false for "nan"
    return fits ? static_cast<std::uint32_t>(static_cast<std::int64_t>(scaled)) : 0;
}

/// The first figures of a text, separated by blanks. Each is cut: the scan of one with a million digits would take a
/// minute, that of two million overflow the stack.
std::wstring firstFigures(std::wstring_view text, int count)
{
    constexpr std::size_t longest = 256;
    const auto isBlank = [](wchar_t character) { return std::iswspace(character) != 0; };
    std::wstring figures;
    for (auto at = text.begin(); count > 0; --count) {
        at = std::find_if_not(at, text.end(), isBlank);
        const auto end = std::find_if(at, text.end(), isBlank);
        figures.append(std::wstring_view(at, end).substr(0, longest)).append(L" ");
        at = end;
    }
    return figures;
}

} // namespace

Json::Value loadAverages(const std::wstring& output)
{
    std::array<float, 3> loads{};
    std::swscanf(firstFigures(output, 3).c_str(), L"%f %f %f", &loads[0], &loads[1], &loads[2]);
    Json::Value cpu(Json::objectValue);
    cpu["last1min"] = percent(loads[0]);
    cpu["last5min"] = percent(loads[1]);
    cpu["last15min"] = percent(loads[2]);
    cpu["unit"] = "%";
    return cpu;
}

Json::Value namedNumbers(const std::wstring& output)
{
    Json::Value members(Json::objectValue);
    for (std::size_t begin = 0; begin < output.size();) {
        const std::size_t end = std::min(output.find_first_of(L"\r\n", begin), output.size());
        const std::wstring line = output.substr(begin, end - begin);
        begin = end + 1;
        const std::size_t colon = line.find(L':');
        if (colon == std::wstring::npos)
            continue;
        unsigned long long number = 0;
        std::swscanf(firstFigures(std::wstring_view(line).substr(colon + 1), 1).c_str(), L"%I64u", &number);
        members[jsonText(lowerCase(line.substr(0, colon)))] = Json::Value::UInt64{number};
    }
    return members;
}
