// CSV log files dropped into the program folder's vtcsvlog while the monitor runs in November:
// October's values land in October's store file at their day and period, the maths tag over
// them is worked out in the same record, the import log notes each file and the files go.
#include <regex>

#include "ScenarioRun.h"

namespace scenario {
namespace {

// Two "From Log File" tags and a maths tag 3 x Boiler + 2 x Chiller.
const std::string Tags = RateTagSetup("Incomer", Tag(2, "Boiler", 25) + Tag(3, "Heat", 8, "Term0 = 2 0 3\nTerm1 = 4 1 2\n") +
                                                     Tag(4, "Chiller", 25));

class CsvBackfill : public ScenarioTest {};

TEST_F(CsvBackfill, PastMonthValuesLandInThatMonthsFileAndTheFilesAreLoggedAndDeleted) {
    const Seconds november = At(2026, 11, 1, 0, 0);
    const Seconds october = At(2026, 10, 1, 0, 0);
    // Slow, within one period: nothing of the monitor's own saving interferes.
    ASSERT_NO_FATAL_FAILURE(Launch(At(2026, 11, 10, 10, 2), 10, OneMeterSite("Backfill", "Incomer", 100), Tags, "Csv", 5));
    // The first scan makes the import folder.
    const fs::path folder = programDir_ / "vtcsvlog";
    ASSERT_TRUE(WaitFor([&] { return fs::is_directory(folder) || !Alive(monitor_); }, 20s));
    ASSERT_TRUE(Alive(monitor_));
    // Tags in use run 1 to 198 (200 slots less two), so tag 199 is refused; so are period 0 and
    // a day February 2026 does not have. A two-digit year is this century's.
    DropFile(folder / "a-october.csv",
             "2026,10,15,20,2,153.25\r\n"
             "26,10,31,48,4,12.5\r\n"
             "2026,10,15,20,4,40\r\n"
             "2026,10,15,0,2,1\r\n"
             "2026,10,15,21,199,1\r\n"
             "2026,2,29,1,2,1\r\n");
    // Letter case of the name does not matter.
    DropFile(folder / "B-Extra.CSV", "2026,10,1,1,2,7.5\r\n");

    const fs::path importLog = folder / "vtcsvlog.log";
    ASSERT_TRUE(WaitFor(
        [&] {
            return (!fs::exists(folder / "a-october.csv") && !fs::exists(folder / "B-Extra.CSV") &&
                    ReadAll(importLog).find("b-extra.csv") != std::string::npos) ||
                   !Alive(monitor_);
        },
        30s))
        << "import log: " << ReadAll(importLog);
    ASSERT_TRUE(Alive(monitor_));
    EXPECT_FALSE(fs::exists(folder / "a-october.csv"));
    EXPECT_FALSE(fs::exists(folder / "B-Extra.CSV"));

    // One line a file, in name order: "dd/mm/yy hh:mm:ss - <path in lower case>, Total = n, Error = e".
    const std::vector<std::string> logLines = Lines(ReadAll(importLog));
    ASSERT_GE(logLines.size(), 2u) << ReadAll(importLog);
    const std::regex stamp(R"(^\d\d/\d\d/\d\d \d\d:\d\d:\d\d - .*)");
    EXPECT_TRUE(std::regex_match(logLines[0], stamp)) << logLines[0];
    EXPECT_TRUE(std::regex_match(logLines[0], std::regex(R"(.* - [^A-Z]*[\\/]vtcsvlog[\\/]a-october\.csv, Total = 6, Error = 3$)")))
        << logLines[0];
    EXPECT_TRUE(std::regex_match(logLines[1], std::regex(R"(.* - [^A-Z]*[\\/]vtcsvlog[\\/]b-extra\.csv, Total = 1, Error = 0$)")))
        << logLines[1];

    // October's file, made for the import.
    const StoreRecords oct = Records(StoreFile("Csv", october));
    ASSERT_TRUE(oct.Ok) << oct.Error;
    ASSERT_EQ(oct.Columns, (std::vector<std::string>{"Incomer", "Boiler", "Heat", "Chiller"}));
    std::map<std::pair<std::string, int>, std::vector<double>> expected{
        {{"2026-10-15", 20}, {0, 153.25, 3 * 153.25 + 2 * 40.0, 40}},
        {{"2026-10-31", 48}, {0, 0, 2 * 12.5, 12.5}},
        {{"2026-10-01", 1}, {0, 7.5, 3 * 7.5, 0}},
    };
    for (const auto& [key, values] : expected) {
        SCOPED_TRACE("October, " + key.first + " period " + std::to_string(key.second));
        const Record* record = oct.Find(key.first, key.second);
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->Flag, 1);
        EXPECT_EQ(record->Values, values);
    }
    oct.ExpectEmptyBut({{"2026-10-15", 20}, {"2026-10-31", 48}, {"2026-10-01", 1}});
    EXPECT_EQ(oct.Rows.size(), 31u * 48u);

    // Nothing of it in November's file, no file for the refused February line.
    const StoreRecords nov = Records(StoreFile("Csv", november));
    ASSERT_TRUE(nov.Ok) << nov.Error;
    nov.ExpectEmptyBut({});
    EXPECT_FALSE(fs::exists(StoreFileLocal("Csv", At(2026, 2, 1, 0, 0))));
    EXPECT_TRUE(Alive(monitor_));
    EXPECT_EQ(ErrorLines(), "");
}

}  // namespace
}  // namespace scenario
