#include "report/figures/TagUnits.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

namespace {

std::string Lower(std::string_view text)
{
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return std::tolower(c); });
    return out;
}

// Energy units named with their hour: the demand unit drops it.
bool IsEnergyUnit(const std::string& unit)
{
    static const std::array<std::string_view, 10> known = {"wh", "kwh", "mwh", "gwh", "varh", "kvarh",
                                                           "mvarh", "vah", "kvah", "mvah"};
    const std::string lower = Lower(unit);
    return std::find(known.begin(), known.end(), lower) != known.end();
}

// Units a name may end in without brackets; any other last word is part of the name.
bool IsKnownUnit(const std::string& word)
{
    static const std::array<std::string_view, 17> known = {"m3", "nm3", "l", "kl", "ml", "gal", "kg", "t",
                                                           "gj", "mj", "kj", "therm", "therms", "btu",
                                                           "kvar", "kva", "kw"};
    const std::string lower = Lower(word);
    return IsEnergyUnit(word) || std::find(known.begin(), known.end(), lower) != known.end();
}

} // namespace

TagUnits UnitsFromTagName(const std::string& name)
{
    std::string unit;
    const std::size_t close = name.find_last_of(")]");
    if (close != std::string::npos) {
        const char open = name[close] == ')' ? '(' : '[';
        const std::size_t start = name.rfind(open, close);
        if (start != std::string::npos)
            unit = name.substr(start + 1, close - start - 1);
    } else {
        std::size_t end = name.find_last_not_of(' ');
        const std::size_t blank = end == std::string::npos ? std::string::npos : name.rfind(' ', end);
        if (blank != std::string::npos) {
            const std::string word = name.substr(blank + 1, end - blank);
            if (IsKnownUnit(word))
                unit = word;
        }
    }
    const std::size_t first = unit.find_first_not_of(' ');
    unit = first == std::string::npos ? "" : unit.substr(first, unit.find_last_not_of(' ') - first + 1);
    if (unit.empty())
        return {};
    if (IsEnergyUnit(unit))
        return {unit, unit.substr(0, unit.size() - 1)};
    return {unit, unit + "/h"};
}
