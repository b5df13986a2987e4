// Across midnight at the end of November: the month's last period goes into November's store
// file, the first period of December into a new December file.
#include "ScenarioRun.h"

namespace scenario {
namespace {

constexpr double Speed = 300;
constexpr int ScanSeconds = 10;
constexpr double Rate = 240;  // 120 a half hour

class MonthBoundary : public ScenarioTest {};

TEST_F(MonthBoundary, LastPeriodStaysInItsMonthAndTheNextMonthGetsANewFile) {
    const Seconds november = At(2026, 11, 1, 0, 0);
    const Seconds december = At(2026, 12, 1, 0, 0);
    ASSERT_NO_FATAL_FAILURE(
        Launch(At(2026, 11, 30, 23, 4), 60, OneMeterSite("Month", "Feeder", Rate), RateTagSetup("Feeder"), "Mon", ScanSeconds));
    ASSERT_LT(Clock(), At(2026, 11, 30, 23, 30)) << "start-up took the whole first period";
    ASSERT_TRUE(SpeedUp(Speed));
    EXPECT_FALSE(fs::exists(StoreFileLocal("Mon", december))) << "December's file before December";
    // Past the save of December's first period.
    ASSERT_TRUE(WaitSaved(At(2026, 12, 1, 0, 30), 60s));
    ASSERT_NO_FATAL_FAILURE(StopHost());

    // A period's quantity spans from the scan that saved the one before to the scan that saves
    // it: half an hour, give or take the latest such scan's delay (from the scan log) and a few
    // seconds for whole-second stamps and the moment between reading and saving.
    const std::vector<Seconds> stamps = ScanStamps();
    ASSERT_GT(stamps.size(), 50u);
    const Seconds gap = SaveLateness(stamps, At(2026, 11, 30, 23, 30), At(2026, 12, 1, 0, 30), 1800, ScanSeconds);
    const double tolerance = Rate * (gap + 10) / 3600.0;

    const StoreRecords nov = Records(StoreFile("Mon", november));
    ASSERT_TRUE(nov.Ok) << nov.Error;
    const StoreRecords dec = Records(StoreFile("Mon", december));
    ASSERT_TRUE(dec.Ok) << dec.Error;
    ASSERT_EQ(nov.Columns, std::vector<std::string>{"Feeder"});
    ASSERT_EQ(dec.Columns, std::vector<std::string>{"Feeder"});

    // November: the period running at start-up (partial, flag 0), then the month's last period.
    const Record* startUp = nov.Find("2026-11-30", 47);
    const Record* last = nov.Find("2026-11-30", 48);
    ASSERT_NE(startUp, nullptr);
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(startUp->Flag, 0);
    EXPECT_GT(startUp->Values[0], 0.0);
    EXPECT_LT(startUp->Values[0], Rate * (26 * 60 + gap + 5) / 3600.0);  // at most 23:04 to 23:30
    EXPECT_EQ(last->Flag, 1);
    EXPECT_NEAR(last->Values[0], Rate / 2, tolerance);
    nov.ExpectEmptyBut({{"2026-11-30", 47}, {"2026-11-30", 48}});
    // December: its first period only. In particular the slot that November's last period would
    // take in a file of a 30th-day month stays empty here.
    const Record* firstOfDecember = dec.Find("2026-12-01", 1);
    ASSERT_NE(firstOfDecember, nullptr);
    EXPECT_EQ(firstOfDecember->Flag, 1);
    EXPECT_NEAR(firstOfDecember->Values[0], Rate / 2, tolerance);
    dec.ExpectEmptyBut({{"2026-12-01", 1}});
    EXPECT_EQ(ErrorLines(), "");
}

}  // namespace
}  // namespace scenario
