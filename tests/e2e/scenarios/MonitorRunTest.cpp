// The monitor as users run it: telvane-host with two simulated meters, a tag setup made with
// vt-mtg, and voltamon --headless under a fast simulated clock across three demand periods of
// 15 minutes. The store file, the peak table and the host's points must show the monitor's work,
// and stopping the host must end the monitor.
#include <algorithm>
#include <sstream>

#include "ScenarioRun.h"

namespace scenario {
namespace {

const std::string Site = OneMeterSite("E2E", "Constant", 120) + R"(
[meter Pulses]
point = T2
kind = pulse
rate = 60
units per pulse = 0.1
rollover = 1000000
)";

// A constant rate from host tag 1, a pulse counter on host tag 2 (both in the site total, rates
// back to host tags 101 and 102), a maths tag 2 x tag 1 + tag 2, and a display of tag 1 on line 1.
const std::string Tags = RateTagSetup("Constant", R"(UnitsPerPulse = 1
HostTagNumber = 101
InTotal = 1

[Tag 2]
TagName = "Pulses"
Online = 1
TagType = 1
ScanType = 22
PageNo = 2
UnitsPerPulse = 0.1
RolloverValue = 1000000
HostTagNumber = 102
InTotal = 1

[Tag 3]
TagName = "Maths"
Online = 1
TagType = 1
ScanType = 8
Term0 = 1 0 2
Term1 = 2 1 1

[Tag 4]
TagName = "Display"
Online = 1
TagType = 3
DisplaySourceIsTag = 1
DisplaySource = 1
RecorderNo = 1
PageNo = 1
LineNo = 1
)", 96);

class MonitorRun : public ScenarioTest {};

TEST_F(MonitorRun, StoresThreePeriodsWritesBackAndEndsWithTheHost) {
    // Where users find the job's files; the fixture itself goes by what the host reports.
    const std::string setupFolder = "C:\\Telvane5\\Jobs\\E2E\\Setup";
    const std::string storeFile = "C:\\Telvane5\\Jobs\\E2E\\Data\\Voltaris\\E2E2611.lum";
    ASSERT_TRUE(StartHost(Site));
    ASSERT_TRUE(BuildSetup(Tags));
    WriteSettings("[general]\nStoreFilePrefix=E2E\ntimer1scan=10\n");

    // Two minutes before a period ends, two minutes of PC time a real second.
    ASSERT_TRUE(SetClock(At(2026, 11, 19, 9, 58), 120));
    monitor_ = StartMonitor();
    // Past 10:30 and a scan or two beyond it.
    ASSERT_TRUE(RunUntil(At(2026, 11, 19, 10, 31), 120s));

    // The host's points: rates and the display value written back.
    const std::vector<std::string> points = Split(Host({"get", "T101", "T102", "L1"}).Out, '\n');
    ASSERT_EQ(points.size(), 3u);
    EXPECT_FLOAT_EQ(std::stof(points[0]), 120.0f);
    EXPECT_NEAR(std::stof(points[1]), 60.0f, 20.0f);
    EXPECT_GT(std::stof(points[2]), 0.0f);
    EXPECT_LE(std::stof(points[2]), 32.0f);

    // The store file: period 40 ends at 10:00 (the first after start-up, flagged 0), then two full periods.
    const StoreRecords records = Records(storeFile);
    ASSERT_TRUE(records.Ok) << records.Error;
    ASSERT_EQ(records.Heading, "date,period,end,flag,Constant,Pulses,Maths,Display");
    const std::string today = "2026-11-19";
    ASSERT_EQ(std::count_if(records.Rows.begin(), records.Rows.end(),
                            [&](const auto& row) { return row.first.first == today; }),
              96);
    const Record* p39 = records.Find(today, 39);
    const Record* p40 = records.Find(today, 40);
    const Record* p43 = records.Find(today, 43);
    ASSERT_TRUE(p39 && p40 && p43);
    EXPECT_EQ(p39->Flag, 0);
    EXPECT_EQ(p39->Values[0], 0.0);
    EXPECT_EQ(p40->Flag, 0);
    EXPECT_GT(p40->Values[0], 0.0);
    EXPECT_LT(p40->Values[0], 6.0);
    double highest = 0;
    for (int period : {41, 42}) {
        SCOPED_TRACE("period " + std::to_string(period));
        const Record* record = records.Find(today, period);
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->Flag, 1);
        const double constant = record->Values[0], pulses = record->Values[1], maths = record->Values[2];
        EXPECT_NEAR(constant, 30.0, 3.0);  // 120 an hour for a quarter of an hour
        EXPECT_NEAR(pulses, 15.0, 2.0);    // 60 an hour
        EXPECT_NEAR(maths, 2 * constant + pulses, 0.05);
        highest = std::max(highest, constant + pulses);
    }
    EXPECT_EQ(p43->Flag, 0);
    EXPECT_EQ(p43->Values[0], 0.0);

    // The peak table: the highest site total first.
    const Result peaks = Run(VT_STORE_PROGRAM, {"peaks", setupFolder + "\\VoltarisSetup.ini"});
    ASSERT_EQ(peaks.ExitCode, 0) << peaks.Err;
    const std::vector<std::string> ranks = Split(peaks.Out, '\n');
    ASSERT_GE(ranks.size(), 4u);
    std::istringstream first(ranks[1]);
    int rank = 0;
    double total = 0;
    first >> rank >> total;
    EXPECT_EQ(rank, 1);
    EXPECT_NEAR(total, highest, 0.01);
    EXPECT_NE(ranks[3].find("Nov 19, 26. 10:00"), std::string::npos) << peaks.Out;

    // The host stops: the monitor notices within a tick and ends.
    ASSERT_EQ(Host({"stop"}).ExitCode, 0);
    EXPECT_EQ(WaitExit(host_, 10s), 0);
    EXPECT_EQ(WaitExit(monitor_, 10s), 0) << ReadAll(root_ / "monitor.err");
    EXPECT_EQ(ErrorLines(), "");
}

}  // namespace
}  // namespace scenario
