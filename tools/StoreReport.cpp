#include "StoreReport.h"

#include <cstdio>
#include <string>
#include <vector>

#include "files/GetSetupData.h"
#include "files/PeakTable.h"
#include "files/StoreFile.h"
#include "files/StoreFileReader.h"
#include "platform/DateSerial.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "support/IniText.h"
#include "support/Profile.h"
#include "support/VbConvert.h"
#include "support/VbText.h"
#include "support/CsvField.h"

namespace {

std::string TypeText(const StoreTagSummary& tag)
{
    if (tag.TagType == TagTypeMeasured)
        return ScanTypeLabel(tag.ScanType);
    if (tag.TagType == TagTypeDisplay)
        return "Display";
    return "Unknown Tag Type";
}

using OpenStore = OpenedStoreFile;

// Opens path as a store file; on failure says why and gives false.
bool Open(const std::string& path, OpenStore& store, std::ostream& err)
{
    const std::string problem = OpenStoreFileForReading(path, store);
    if (problem.empty())
        return true;
    err << "vt-store: " << problem << "\n";
    return false;
}

}  // namespace

int StoreInfoReport(const std::string& path, std::ostream& out, std::ostream& err)
{
    OpenStore s;
    if (!Open(path, s, err))
        return 1;
    const StoreHeader& h = s.Header;
    out << "Header text:       " << TrimNull(h.HeaderText + std::string(1, '\0')) << "\n"
              << "Tag slots:         " << h.MaxTags << "\n"
              << "Tags saved:        " << s.TagCount << "\n"
              << "Periods per day:   " << h.PeriodsPerDay << "\n"
              << "Setup version:     " << h.SetupVersion << "\n"
              << "Setup info word:   " << h.SetupInfoWord << "\n"
              << "Tariffs:           " << h.TariffCount << " of " << h.TariffEntryCount << " entries\n"
              << "Centers:           " << h.CenterCount << "\n"
              << "Currency char:     " << h.CurrencyChr << "\n"
              << "Shed meter:        " << h.ShedMeter << "\n"
              << "Unshed meter:      " << h.UnShedMeter << "\n"
              << "Tag data start:    " << h.TagDataStart << "\n"
              << "Data start:        " << h.DataStart << "\n"
              << "Records:           " << s.Layout.RecordCount() << " of " << s.Layout.RecordSize() << " bytes\n\n"
              << "Tag  Name                      Online  Type  Scan type            In total  Center\n";
    for (int t = 1; t <= h.MaxTags; ++t) {
        const StoreTagSummary& tag = s.Tags[static_cast<std::size_t>(t)];
        const std::string name = StoreTagName(tag);
        if (tag.Online != 1 && name.empty())
            continue;
        char line[160];
        std::snprintf(line, sizeof line, "%3d  %-24s  %6d  %4d  %-19s  %8d  %6d%s", t, name.c_str(), tag.Online,
                      tag.TagType, TypeText(tag).c_str(), tag.InTotal, tag.CenterNo,
                      t > s.TagCount ? "  (not saved)" : "");
        out << line << "\n";
    }
    return 0;
}

namespace {

// "2024-02-29 23:30"; minutes may reach 1440, which is 00:00 of the next day. Undated files count days.
std::string PeriodEndText(bool dated, int year, int month, int day, int minutes)
{
    if (minutes >= 1440) {
        minutes -= 1440;
        ++day;
        if (dated && day > DaysInMonth(year, month)) {
            day = 1;
            if (++month > 12) {
                month = 1;
                ++year;
            }
        }
    }
    char text[64];
    if (dated)
        std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d", year, month, day, minutes / 60, minutes % 60);
    else
        std::snprintf(text, sizeof text, "day %d %02d:%02d", day, minutes / 60, minutes % 60);
    return text;
}

}  // namespace

int StoreRecordsReport(const std::string& path, std::ostream& out, std::ostream& err, bool savedOnly)
{
    OpenStore s;
    if (!Open(path, s, err))
        return 1;
    int year = 0;
    int month = 0;
    const bool dated = StoreFileMonth(path, year, month);
    const int days = dated ? DaysInMonth(year, month) : StoreDaysPerMonth;
    std::vector<int> columns;
    out << "date,period,end,flag";
    for (int t = 1; t <= s.TagCount; ++t)
        if (s.Tags[static_cast<std::size_t>(t)].Online == 1) {
            columns.push_back(t);
            out << ',' << CsvField(StoreTagName(s.Tags[static_cast<std::size_t>(t)]));
        }
    out << "\n";
    const int periods = s.Header.PeriodsPerDay;
    std::vector<float> values;
    for (int day = 1; day <= days; ++day) {
        for (int p = 1; p <= periods; ++p) {
            const int32_t record = (day - 1) * periods + p - 1;
            int16_t flag = 0;
            const VbError e = s.File.ReadRecord(s.Layout, record, flag, values, s.TagCount);
            if (e.Failed()) {
                err << "vt-store: " << path << ": record " << record << " cannot be read: " << e.Description
                          << "\n";
                return 1;
            }
            // Any other flag is shown as it is: the dump hides no byte that was written.
            const bool nothing = RecordHoldsNothing(flag, values);
            if (nothing && savedOnly)
                continue;
            char date[48];
            if (dated)
                std::snprintf(date, sizeof date, "%04d-%02d-%02d", year, month, day);
            else
                std::snprintf(date, sizeof date, "day %d", day);
            out << date << ',' << p << ',' << PeriodEndText(dated, year, month, day, p * 1440 / periods)
                      << ',';
            if (!nothing)
                out << flag;
            for (int t : columns) {
                out << ',';
                if (!nothing)
                    out << FormatSingle(values[static_cast<std::size_t>(t - 1)]);
            }
            out << "\n";
        }
    }
    return out.good() ? 0 : 1;
}

constexpr int64_t MaxSettingsFileBytes = 4 * 1024 * 1024;

// Why bytes are not the monitor's settings file, or "" when they are one: text of [section] and
// key=value lines with its [general] settings or its [Peaks] table (other programs add sections).
// Lines, remarks and section names are taken as the monitor's own reader takes them.
namespace {

std::string SettingsFileProblem(const std::string& bytes)
{
    if (const auto nul = bytes.find('\0'); nul != std::string::npos)
        return "it holds binary bytes (a NUL at offset " + std::to_string(nul) + ")";
    bool sectionSeen = false;
    int number = 1;
    for (std::size_t start = 0; start < bytes.size(); ++number) {
        const IniLine line = IniLineAt(bytes, start);
        start = line.End;
        if (line.Kind == IniLineKind::Blank || line.Kind == IniLineKind::Comment)
            continue;
        if (line.Kind != IniLineKind::Section) {
            if (!sectionSeen)
                return "line " + std::to_string(number) + " comes before any [section]";
            continue;
        }
        sectionSeen = true;
        if (IniNamesMatch(line.Name, "general") || IniNamesMatch(line.Name, "Peaks"))
            return "";
    }
    return sectionSeen ? "it has neither a [general] nor a [Peaks] section" : "it holds no [section]";
}

}  // namespace

int PeakTableReport(const std::string& iniPath, std::ostream& out, std::ostream& err)
{
    if (FolderExists(iniPath)) {
        err << "vt-store: cannot open " << iniPath << ": it is a folder\n";
        return 1;
    }
    if (!FileExists(iniPath)) {
        err << "vt-store: cannot open " << iniPath << ": File not found\n";
        return 1;
    }
    // Settings files are small; a big file is something else and is not read whole.
    const VbResult<int64_t> length = FileLength(iniPath);
    if (length.Ok() && length.Value > MaxSettingsFileBytes) {
        err << "vt-store: " << iniPath << " is not a settings file: it is " << length.Value
                  << " bytes long\n";
        return 1;
    }
    const VbResult<std::string> bytes = ReadWholeFile(iniPath);
    if (!bytes.Ok()) {
        err << "vt-store: cannot read " << iniPath << ": " << bytes.Error.Description << "\n";
        return 1;
    }
    if (const std::string problem = SettingsFileProblem(bytes.Value); !problem.empty()) {
        err << "vt-store: " << iniPath << " is not a settings file: " << problem << "\n";
        return 1;
    }
    // The table reads as zeros when nothing has been saved there; say so rather than look empty.
    const char* const absent = "\x01";
    if (GetPrivateProfileString("Peaks", "1PeakValue", absent, 80, iniPath) == absent)
        err << "vt-store: " << iniPath << " has no peaks yet (no key 1PeakValue in section [Peaks])\n";
    const std::vector<PeakEntry> peaks = ReadPeaks(iniPath);
    out << "Rank  Site total      Period end\n";
    for (int n = 1; n <= PeakRanks; ++n) {
        char line[200];
        std::snprintf(line, sizeof line, "%4d  %-14s  %s", n, peaks[static_cast<std::size_t>(n)].Value.c_str(),
                      peaks[static_cast<std::size_t>(n)].Time.c_str());
        out << line << "\n";
    }
    return 0;
}

