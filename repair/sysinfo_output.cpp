#include "repair/sysinfo_output.h"

#include "repair/json_text.h"
#include "runtime/text/letter_case.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cwchar>

namespace {

/// The low 32 bits of the truncated percentage; 0 for "nan" and for a figure beyond 64 bits.
std::uint32_t percent(float load)
{
    constexpr float limit = 9223372036854775808.0F; // 2 to the 63rd
    const float scaled = load * 100.0F;
    const bool fits = scaled >= -limit && scaled < limit; // false for "nan"
    return fits ? static_cast<std::uint32_t>(static_cast<std::int64_t>(scaled)) : 0;
}

} // namespace

Json::Value loadAverages(const std::wstring& output)
{
    std::array<float, 3> loads{};
    std::swscanf(output.c_str(), L"%f %f %f", &loads[0], &loads[1], &loads[2]);
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
        std::swscanf(line.c_str() + colon + 1, L"%I64u", &number);
        members[jsonText(lowerCase(line.substr(0, colon)))] = Json::Value::UInt64{number};
    }
    return members;
}
