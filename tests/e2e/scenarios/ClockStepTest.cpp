// The PC clock going back or on under a running monitor: set back an hour by hand, and local time
// changing for summer time in a real zone (Europe/London) on the simulated clock, which runs in
// universal time. No record ever holds negative energy, the period that ran before a step is
// saved as itself, and a period that runs twice holds both runs: the energy of the day stays whole.
#include <cstdlib>

#include "ScenarioRun.h"

namespace scenario {
namespace {

constexpr double PerMinute = 60;  // the meter runs at 3600 an hour
// The scan that saves a record comes up to an interval after the period end, and on a busy
// machine a little later at these clock speeds.
constexpr double Margin = PerMinute * 2.5;

class ClockSteps : public ScenarioTest {
protected:
    void TearDown() override {
        ScenarioTest::TearDown();
        ::unsetenv("TZ");
    }

    // The monitor from start at ten minutes a second until the clock reaches end (set back an hour
    // at setBackAt, when given), then stopped with the host; the step must be logged. Gives the
    // day's records of the meter by period, each checked to hold no negative energy.
    std::map<int, Record> RunDay(Seconds start, Seconds end, const std::string& prefix, const std::string& step,
                                 Seconds setBackAt = 0) {
        std::map<int, Record> periods;
        Launch(start, 60, OneMeterSite("Steps", "Meter", 3600), RateTagSetup("Meter"), prefix, 10);
        if (HasFatalFailure() || !SpeedUp(600)) return periods;
        // Back at the same speed: the monitor sees a step, not a change of speed.
        if (setBackAt && !(RunUntil(setBackAt, 30s) && SetClock(Clock() - 3600, 600))) return periods;
        if (!WaitSaved(end, 60s)) return periods;
        StopHost();
        EXPECT_NE(MainLog().find("PC clock stepped by " + step), std::string::npos);
        EXPECT_EQ(ErrorLines(), "");
        const StoreRecords records = Records(StoreFile(prefix, MonthOf(start)));
        EXPECT_TRUE(records.Ok) << records.Error;
        for (const auto& [key, record] : records.Rows) {
            EXPECT_GE(record.Values.at(0), 0.0) << key.first << " period " << key.second;
            if (key.first == DateText(start)) periods[key.second] = record;
        }
        return periods;
    }
};

TEST_F(ClockSteps, SetBackAnHourByHand) {
    std::map<int, Record> p = RunDay(At(2026, 11, 19, 9, 56), At(2026, 11, 19, 10, 30), "Bck", "-3",
                                     At(2026, 11, 19, 10, 4));
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
    const double ran = (At(2026, 11, 19, 10, 4) - ScanStamps().front()) / 60.0 + 86;
    EXPECT_NEAR(p[19].Values[0] + p[20].Values[0] + p[21].Values[0], PerMinute * ran, Margin * 2);
}

// Summer time ends on 25 October 2026: 01:59:59 BST is followed by 01:00:00 GMT. Periods 3 and 4
// (01:00 to 02:00) run twice and hold an hour each.
TEST_F(ClockSteps, AutumnHourRunsTwiceInLondon) {
    ::setenv("TZ", "Europe/London", 1);
    // 02:30 is passed only after the repeated hour.
    std::map<int, Record> p = RunDay(At(2026, 10, 25, 0, 50), At(2026, 10, 25, 2, 30), "Aut", "-3600 secs");
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
}

// Summer time begins on 29 March 2026: 00:59:59 GMT is followed by 02:00:00 BST. The period that
// ran (00:30 to 01:00) is saved as itself; the hour that never was books nothing.
TEST_F(ClockSteps, SpringHourIsSkippedInLondon) {
    ::setenv("TZ", "Europe/London", 1);
    std::map<int, Record> p = RunDay(At(2026, 3, 29, 0, 40), At(2026, 3, 29, 2, 30), "Spr", "3600 secs");
    ASSERT_TRUE(p.count(2) && p.count(3) && p.count(4) && p.count(5));
    EXPECT_EQ(p[2].Flag, 0);
    EXPECT_NEAR(p[2].Values[0], PerMinute * (At(2026, 3, 29, 1, 0) - ScanStamps().front()) / 60.0, Margin);
    for (int period : {3, 4}) {
        EXPECT_EQ(p[period].Values[0], 0.0) << "period " << period;
        EXPECT_EQ(p[period].Flag, 0) << "period " << period;
    }
    EXPECT_NEAR(p[5].Values[0], PerMinute * 30, Margin);
    EXPECT_EQ(p[5].Flag, 1);
}

}  // namespace
}  // namespace scenario
