// vt-store: prints a monthly store file and the peak table.
//   vt-store info FILE.lum        header and the tags of the setup copy
//   vt-store records FILE.lum     the period records as CSV, one column per tag in use
//   vt-store peaks SETTINGS.ini   the table of the 24 highest site totals
// Paths may be local paths or path texts of the prefix.
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "files/GetSetupData.h"
#include "files/PeakTable.h"
#include "files/StoreFile.h"
#include "files/StoreFileReader.h"
#include "platform/DateSerial.h"
#include "platform/Files.h"
#include "support/Profile.h"
#include "support/VbConvert.h"
#include "support/VbText.h"

namespace {

const char* const UsageText =
    "usage: vt-store info FILE.lum        print the header and the tags of a monthly store file\n"
    "       vt-store records FILE.lum     print its period records as CSV: date, period, period end,\n"
    "                                     flag (0 = first period after start-up), one column per tag\n"
    "       vt-store peaks SETTINGS.ini   print the table of the 24 highest site totals\n";

int Usage(bool asked)
{
    (asked ? std::cout : std::cerr) << UsageText;
    return asked ? 0 : 2;
}

// A tag name as shown: up to its first NUL, without padding.
std::string ShownName(const std::string& stored)
{
    return Trim(stored.substr(0, stored.find('\0')));
}

std::string TypeText(const StoreTagSummary& tag)
{
    if (tag.TagType == TagTypeMeasured)
        return ScanTypeLabel(tag.ScanType);
    if (tag.TagType == TagTypeDisplay)
        return "Display";
    return "Unknown Tag Type";
}

using OpenStore = OpenedStoreFile;

// Opens path as a store file; on failure prints why and gives false.
bool Open(const std::string& path, OpenStore& store)
{
    const std::string problem = OpenStoreFileForReading(path, store);
    if (problem.empty())
        return true;
    std::cerr << "vt-store: " << problem << "\n";
    return false;
}

std::string CsvField(const std::string& text)
{
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string out = "\"";
    for (char c : text) {
        if (c == '"')
            out += '"';
        out += c;
    }
    return out + "\"";
}

int Info(const std::string& path)
{
    OpenStore s;
    if (!Open(path, s))
        return 1;
    const StoreHeader& h = s.Header;
    std::cout << "Header text:       " << TrimNull(h.HeaderText + std::string(1, '\0')) << "\n"
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
        const std::string name = ShownName(tag.TagName);
        if (tag.Online != 1 && name.empty())
            continue;
        char line[160];
        std::snprintf(line, sizeof line, "%3d  %-24s  %6d  %4d  %-19s  %8d  %6d%s", t, name.c_str(), tag.Online,
                      tag.TagType, TypeText(tag).c_str(), tag.InTotal, tag.CenterNo,
                      t > s.TagCount ? "  (not saved)" : "");
        std::cout << line << "\n";
    }
    return 0;
}

int Records(const std::string& path)
{
    OpenStore s;
    if (!Open(path, s))
        return 1;
    int year = 0;
    int month = 0;
    const bool dated = StoreFileMonth(path, year, month);
    const int days = dated ? DaysInMonth(year, month) : StoreDaysPerMonth;
    std::vector<int> columns;
    std::cout << "date,period,end,flag";
    for (int t = 1; t <= s.TagCount; ++t)
        if (s.Tags[static_cast<std::size_t>(t)].Online == 1) {
            columns.push_back(t);
            std::cout << ',' << CsvField(ShownName(s.Tags[static_cast<std::size_t>(t)].TagName));
        }
    std::cout << "\n";
    const int periods = s.Header.PeriodsPerDay;
    std::vector<float> values;
    for (int day = 1; day <= days; ++day) {
        for (int p = 1; p <= periods; ++p) {
            const int32_t record = (day - 1) * periods + p - 1;
            int16_t flag = 0;
            const VbError e = s.File.ReadRecord(s.Layout, record, flag, values, s.TagCount);
            if (e.Failed()) {
                std::cerr << "vt-store: " << path << ": record " << record << " cannot be read: " << e.Description
                          << "\n";
                return 1;
            }
            char date[48];
            if (dated)
                std::snprintf(date, sizeof date, "%04d-%02d-%02d", year, month, day);
            else
                std::snprintf(date, sizeof date, "day %d", day);
            const int endMinutes = p * 1440 / periods;
            char end[32];
            std::snprintf(end, sizeof end, "%02d:%02d", endMinutes / 60, endMinutes % 60);
            std::cout << date << ',' << p << ',' << end << ',' << flag;
            for (int t : columns)
                std::cout << ',' << FormatSingle(values[static_cast<std::size_t>(t - 1)]);
            std::cout << "\n";
        }
    }
    return std::cout.good() ? 0 : 1;
}

int Peaks(const std::string& iniPath)
{
    if (FolderExists(iniPath)) {
        std::cerr << "vt-store: cannot open " << iniPath << ": it is a folder\n";
        return 1;
    }
    if (!FileExists(iniPath)) {
        std::cerr << "vt-store: cannot open " << iniPath << ": File not found\n";
        return 1;
    }
    // The table reads as zeros when nothing has been saved there; say so rather than look empty.
    const char* const absent = "\x01";
    if (GetPrivateProfileString("Peaks", "1PeakValue", absent, 80, iniPath) == absent)
        std::cerr << "vt-store: " << iniPath << " has no peaks yet (no key 1PeakValue in section [Peaks])\n";
    const std::vector<PeakEntry> peaks = ReadPeaks(iniPath);
    std::cout << "Rank  Site total      Period end\n";
    for (int n = 1; n <= PeakRanks; ++n) {
        char line[200];
        std::snprintf(line, sizeof line, "%4d  %-14s  %s", n, peaks[static_cast<std::size_t>(n)].Value.c_str(),
                      peaks[static_cast<std::size_t>(n)].Time.c_str());
        std::cout << line << "\n";
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string command = argc > 1 ? argv[1] : "";
    if (argc == 2 && (command == "--help" || command == "-h" || command == "help"))
        return Usage(true);
    const bool known = command == "info" || command == "records" || command == "peaks";
    if (known && argc == 3) {
        if (command == "info")
            return Info(argv[2]);
        if (command == "records")
            return Records(argv[2]);
        return Peaks(argv[2]);
    }
    if (known)
        std::cerr << "vt-store: '" << command << "' takes one path\n";
    else if (!command.empty())
        std::cerr << "vt-store: unknown command '" << command << "'\n";
    return Usage(false);
}
