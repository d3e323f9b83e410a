#include "system/cleaning/open_object.h"

#include "runtime/path.h"

#include <algorithm>

bool liesAt(std::wstring_view directory, std::wstring_view name, std::wstring_view location)
{
    const std::wstring expected = path::append(std::wstring(directory), name);
    std::size_t at = 0, found = 0;
    while (at < expected.size()) {
        if (found < location.size() && expected[at] == location[found]) {
            ++at;
            ++found;
            continue;
        }
        // Wine omits dots and blanks at the end of a name from the location. It opens the full name, as Windows does.
        const std::size_t rest = std::min(expected.find_first_not_of(L". ", at), expected.size());
        if (rest == at || (rest < expected.size() && expected[rest] != L'\\'))
            return false;
        at = rest;
    }
    return found == location.size();
}
