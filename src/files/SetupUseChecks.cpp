#include "files/SetupUseChecks.h"

#include <algorithm>
#include <utility>

#include "files/GetSetupData.h"
#include "files/ScanTypes.h"

namespace {

// The line of section.key, else of the section, else 0 (nothing given at all).
int LineOf(const SetupDescriptionResult& described, const std::string& section, const std::string& key)
{
    if (const auto at = described.Lines.find(section + "." + key); at != described.Lines.end())
        return at->second;
    if (const auto at = described.Lines.find(section); at != described.Lines.end())
        return at->second;
    return 0;
}

} // namespace

std::vector<std::string> SetupUseProblems(const SetupDescriptionResult& described)
{
    std::vector<std::pair<int, std::string>> found;
    const SetupData& d = described.Image.Data;
    // Only what a given key says; a key left out reads as zero, said so.
    auto given = [&](const std::string& section, const std::string& key) {
        return described.Lines.count(section + "." + key) != 0;
    };
    auto shown = [&](const std::string& section, const std::string& key, int value) {
        return key + " " + std::to_string(value) + (given(section, key) ? "" : " (not given)");
    };
    if (d.SetupVersion < 250)
        found.emplace_back(LineOf(described, "Header", "SetupVersion"),
                           shown("Header", "SetupVersion", d.SetupVersion) +
                               ": the monitor loads version 250 and later only");
    if (d.PeriodsPerDay != 24 && d.PeriodsPerDay != 48 && d.PeriodsPerDay != 96)
        found.emplace_back(LineOf(described, "Header", "PeriodsPerDay"),
                           shown("Header", "PeriodsPerDay", d.PeriodsPerDay) +
                               ": the monitor divides the day into 24, 48 or 96 periods");
    for (int t = 1; t < static_cast<int>(d.TagTable.size()); ++t) {
        const TagRecord& tag = d.TagTable[static_cast<std::size_t>(t)];
        // The scan reads only online measured tags.
        if (tag.Online != 1 || tag.TagType != TagTypeMeasured)
            continue;
        const std::string section = "Tag " + std::to_string(t);
        const std::string label = ScanTypeLabel(tag.ScanType);
        if (label == "Unknown Scan Type")
            found.emplace_back(LineOf(described, section, "ScanType"),
                               "[" + section + "] " + shown(section, "ScanType", tag.ScanType) +
                                   " is not a scan type the monitor knows");
        else if (ScanKindOf(tag.ScanType).From == ScanSource::HostTag && tag.PageNo == 0)
            found.emplace_back(LineOf(described, section, "PageNo"),
                               "[" + section + "] ScanType " + std::to_string(tag.ScanType) + " (" + label +
                                   ") reads the host tag numbered by PageNo, and PageNo is 0" +
                                   (given(section, "PageNo") ? "" : " (not given)"));
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> problems;
    for (const auto& [line, text] : found)
        problems.push_back((line > 0 ? "line " + std::to_string(line) + ": " : "") + text);
    return problems;
}
