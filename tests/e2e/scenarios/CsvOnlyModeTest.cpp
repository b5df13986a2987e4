// voltamon --headless /csv: no acquisition and no period save of acquired values, across a period
// end; the CSV import still stores what it is given.
#include "ScenarioRun.h"

namespace scenario {
namespace {

const std::string Site = OneMeterSite("CsvOnly", "Incomer", 600);

// The incomer would write its rate back to host tag 101 when scanned.
const std::string Tags = RateTagSetup("Incomer", R"(HostTagNumber = 101
InTotal = 1

[Tag 2]
TagName = "Logged"
Online = 1
TagType = 1
ScanType = 25
)");

class CsvOnlyMode : public ScenarioTest {};

TEST_F(CsvOnlyMode, NoAcquisitionNoPeriodSaveButCsvImport) {
    const Seconds day = At(2026, 11, 19, 0, 0);
    ASSERT_TRUE(SetClock(At(2026, 11, 19, 10, 20), 60));
    ASSERT_TRUE(StartHost(Site));
    ASSERT_TRUE(BuildSetup(Tags));
    WriteSettings("[general]\nStoreFilePrefix=Only\ntimer1scan=5\nLogScans=1\n");
    monitor_ = StartMonitor({"/csv"});
    ASSERT_TRUE(WaitStarted("Only", day));
    ASSERT_TRUE(SpeedUp(240));

    const fs::path folder = programDir_ / "vtcsvlog";
    ASSERT_TRUE(WaitFor([&] { return fs::is_directory(folder) || !Alive(monitor_); }, 20s));
    ASSERT_TRUE(Alive(monitor_));
    // Period 20 of today (09:30 to 10:00).
    DropFile(folder / "today.csv", "2026,11,19,20,2,42\r\n");
    // Past 10:30 and several scans beyond: a normal monitor would have saved period 21 by now.
    ASSERT_TRUE(RunUntil(At(2026, 11, 19, 10, 33), 30s));
    EXPECT_FALSE(fs::exists(folder / "today.csv"));
    EXPECT_NE(ReadAll(folder / "vtcsvlog.log").find("today.csv, Total = 1, Error = 0"), std::string::npos)
        << ReadAll(folder / "vtcsvlog.log");

    // No rate written back to the host, the host's reading itself live.
    const std::vector<std::string> points = Lines(Host({"get", "T101", "T1"}).Out);
    ASSERT_GE(points.size(), 2u);
    EXPECT_EQ(std::stod(points[0]), 0.0);
    EXPECT_EQ(std::stod(points[1]), 600.0);
    ASSERT_EQ(Host({"stop"}).ExitCode, 0);
    EXPECT_EQ(WaitExit(monitor_, 10s), 0);

    const StoreRecords records = Records(StoreFile("Only", day));
    ASSERT_TRUE(records.Ok) << records.Error;
    ASSERT_EQ(records.Columns, (std::vector<std::string>{"Incomer", "Logged"}));
    for (const auto& [key, record] : records.Rows) {
        SCOPED_TRACE(key.first + " period " + std::to_string(key.second));
        if (key == std::make_pair(DateText(day), 20)) {
            EXPECT_EQ(record.Flag, 1);
            EXPECT_EQ(record.Values, (std::vector<double>{0, 42}));
            continue;
        }
        EXPECT_EQ(record.Flag, 0);
        for (double value : record.Values) EXPECT_EQ(value, 0.0);
    }
    // No scan log lines (nothing acquired) and no peak table (no period save).
    EXPECT_TRUE(ScanStamps().empty());
    EXPECT_EQ(ReadAll(SettingsFile()).find("PeakValue"), std::string::npos) << ReadAll(SettingsFile());
    EXPECT_EQ(ErrorLines(), "");
}

}  // namespace
}  // namespace scenario
