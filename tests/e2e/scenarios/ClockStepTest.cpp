// The PC clock going back or on under a running monitor: set back an hour by hand, and local time
// changing for summer time in a real zone (Europe/London) on the simulated clock, which runs in
// universal time. No record ever holds negative energy, the period that ran before a step is
// saved as itself, and a period that runs twice holds both runs: the energy of the day stays whole.
#include <cstdlib>
#include <numeric>

#include "ScenarioRun.h"

namespace scenario {
namespace {

constexpr int ScanSeconds = 10;
constexpr double PerMinute = 60;  // the meter runs at 3600 an hour

class ClockSteps : public ScenarioTest {
protected:
    void TearDown() override {
        ScenarioTest::TearDown();
        ::unsetenv("TZ");
    }

    // The host, the tag setup, the settings and the monitor on a clock started at start.
    void StartAt(Seconds start, const std::string& prefix) {
        ASSERT_TRUE(SetClock(start, 60));
        ASSERT_TRUE(StartHost(OneMeterSite("Steps", "Meter", 3600)));
        ASSERT_TRUE(BuildSetup(RateTagSetup("Meter")));
        WriteSettings("[general]\nStoreFilePrefix=" + prefix + "\ntimer1scan=" + std::to_string(ScanSeconds) +
                      "\nLogScans=1\n");
        monitor_ = StartMonitor();
        ASSERT_TRUE(WaitStarted(prefix, start));
    }

    // The day's records of the meter, by period; every value checked to be no negative energy.
    std::map<int, Record> Day(const std::string& prefix, Seconds day) {
        const StoreRecords records = Records(StoreFile(prefix, day));
        EXPECT_TRUE(records.Ok) << records.Error;
        std::map<int, Record> periods;
        for (const auto& [key, record] : records.Rows) {
            EXPECT_GE(record.Values.at(0), 0.0) << key.first << " period " << key.second;
            if (key.first == DateText(day)) periods[key.second] = record;
        }
        return periods;
    }

    // A margin for a record: the scan that saves it comes up to an interval after the period end,
    // and on a busy machine a little later at these clock speeds.
    static constexpr double Margin = PerMinute * 2.5;
};

TEST_F(ClockSteps, SetBackAnHourByHand) {
    const Seconds day = At(2026, 11, 19, 0, 0);
    StartAt(At(2026, 11, 19, 9, 56), "Bck");
    ASSERT_TRUE(SpeedUp(600));
    ASSERT_TRUE(RunUntil(At(2026, 11, 19, 10, 4), 30s));
    // Back an hour at the same speed: the monitor sees a step, not a change of speed.
    ASSERT_TRUE(SetClock(Clock() - 3600, 600));
    ASSERT_TRUE(RunUntil(At(2026, 11, 19, 10, 31), 60s));
    ASSERT_EQ(Host({"stop"}).ExitCode, 0);
    EXPECT_EQ(WaitExit(monitor_, 10s), 0);
    EXPECT_NE(MainLog().find("PC clock stepped by -3"), std::string::npos);

    std::map<int, Record> p = Day("Bck", day);
    // 10:00 to 10:04 before the step lands in period 21, 09:04 to 09:30 in period 19.
    ASSERT_TRUE(p.count(19) && p.count(20) && p.count(21) && p.count(22));
    EXPECT_EQ(p[18].Values[0], 0.0);
    EXPECT_NEAR(p[19].Values[0], PerMinute * 26, Margin);
    EXPECT_EQ(p[19].Flag, 0) << "09:00 to 09:04 never ran";
    // 09:56 to 10:00 and 09:30 to 10:00 again; the first run was the first period after start-up.
    EXPECT_GT(p[20].Values[0], PerMinute * 30);
    EXPECT_EQ(p[20].Flag, 0);
    // 10:00 to 10:04, then 10:00 to 10:30 again.
    EXPECT_NEAR(p[21].Values[0], PerMinute * 34, Margin);
    EXPECT_EQ(p[21].Flag, 1);
    // Every minute the monitor ran is in the day's records once: from start-up to the step and
    // from the step to 10:30, give or take the scans around start-up and the last save.
    const Seconds firstScan = ScanStamps().front();
    const double ran = (At(2026, 11, 19, 10, 4) - firstScan) / 60.0 + 86;
    EXPECT_NEAR(p[19].Values[0] + p[20].Values[0] + p[21].Values[0], PerMinute * ran, Margin * 2);
    EXPECT_EQ(ErrorLines(), "");
}

// Summer time ends on 25 October 2026: 01:59:59 BST is followed by 01:00:00 GMT. Periods 3 and 4
// (01:00 to 02:00) run twice and hold an hour each.
TEST_F(ClockSteps, AutumnHourRunsTwiceInLondon) {
    ::setenv("TZ", "Europe/London", 1);
    const Seconds day = At(2026, 10, 25, 0, 0);
    StartAt(At(2026, 10, 25, 0, 50), "Aut");
    ASSERT_TRUE(SpeedUp(600));
    ASSERT_TRUE(RunUntil(At(2026, 10, 25, 2, 31), 60s));  // reached only after the repeated hour
    ASSERT_EQ(Host({"stop"}).ExitCode, 0);
    EXPECT_EQ(WaitExit(monitor_, 10s), 0);
    EXPECT_NE(MainLog().find("PC clock stepped by -3600 secs"), std::string::npos);

    std::map<int, Record> p = Day("Aut", day);
    ASSERT_TRUE(p.count(2) && p.count(3) && p.count(4) && p.count(5));
    EXPECT_EQ(p[2].Flag, 0);
    EXPECT_GT(p[2].Values[0], 0.0);
    EXPECT_LE(p[2].Values[0], PerMinute * 10 + Margin);
    for (int period : {3, 4}) {
        EXPECT_NEAR(p[period].Values[0], PerMinute * 60, Margin) << "period " << period;
        EXPECT_EQ(p[period].Flag, 1) << "period " << period;
    }
    EXPECT_NEAR(p[5].Values[0], PerMinute * 30, Margin);
    EXPECT_EQ(p[5].Flag, 1);
    EXPECT_EQ(ErrorLines(), "");
}

// Summer time begins on 29 March 2026: 00:59:59 GMT is followed by 02:00:00 BST. The period that
// ran (00:30 to 01:00) is saved as itself; the hour that never was books nothing.
TEST_F(ClockSteps, SpringHourIsSkippedInLondon) {
    ::setenv("TZ", "Europe/London", 1);
    const Seconds day = At(2026, 3, 29, 0, 0);
    StartAt(At(2026, 3, 29, 0, 40), "Spr");
    ASSERT_TRUE(SpeedUp(600));
    ASSERT_TRUE(RunUntil(At(2026, 3, 29, 2, 31), 60s));
    ASSERT_EQ(Host({"stop"}).ExitCode, 0);
    EXPECT_EQ(WaitExit(monitor_, 10s), 0);
    EXPECT_NE(MainLog().find("PC clock stepped by 3600 secs"), std::string::npos);

    std::map<int, Record> p = Day("Spr", day);
    ASSERT_TRUE(p.count(2) && p.count(3) && p.count(4) && p.count(5));
    const Seconds firstScan = ScanStamps().front();
    EXPECT_EQ(p[2].Flag, 0);
    EXPECT_NEAR(p[2].Values[0], PerMinute * (At(2026, 3, 29, 1, 0) - firstScan) / 60.0, Margin);
    for (int period : {3, 4}) {
        EXPECT_EQ(p[period].Values[0], 0.0) << "period " << period;
        EXPECT_EQ(p[period].Flag, 0) << "period " << period;
    }
    EXPECT_NEAR(p[5].Values[0], PerMinute * 30, Margin);
    EXPECT_EQ(p[5].Flag, 1);
    EXPECT_EQ(ErrorLines(), "");
}

}  // namespace
}  // namespace scenario
