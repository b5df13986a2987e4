// PC clock synchronisation on the simulated clock.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "common/TempPrefix.h"
#include "platform/Clock.h"
#include "platform/DateSerial.h"
#include "platform/Paths.h"
#include "platform/Programs.h"
#include "support/VbDate.h"
#include "support/Log.h"
#include "support/clsClockSync.h"

namespace {

// The hour tag as the host shows it; counts the reads and the indexes asked for.
struct HourTag {
    float Reading = 0;
    bool Fails = false;
    std::vector<int32_t> Asked;

    clsClockSync::TagReadingCall Call() {
        return [this](int32_t tag) {
            Asked.push_back(tag);
            VbResult<float> result;
            if (Fails) result.Error = VbError(ErrFileNotFound);
            else result.Value = Reading;
            return result;
        };
    }
};

class ClockSyncTest : public ::testing::Test {
protected:
    void SetUp() override { sync.SetTagReading(tag.Call()); }

    // The clock stands still (a billionth of real speed) at the given time.
    static void At(int year, int month, int day, int hour, int minute, int second) {
        ASSERT_FALSE(ClockSimulate(MakeDateTime(year, month, day, hour, minute, second), 1e-9));
    }
    static bool NowIs(int year, int month, int day, int hour, int minute, int second) {
        return std::abs(ClockNow() - MakeDateTime(year, month, day, hour, minute, second)) < 0.01 / 86400;
    }
    std::string ClockLog() const { return TempPrefix::Read(LocalPath(sync.ClockLogFile())); }

    TempPrefix prefix;
    HourTag tag;
    clsClockSync sync;
};

}  // namespace

TEST_F(ClockSyncTest, SettingsAndOffState) {
    EXPECT_EQ(sync.ClockLogFile(), PathJoin(LogFolder(), ProgramName() + "_PC_Clock.log"));
    EXPECT_EQ(sync.LastPulseReading(), -1.0f);
    At(2026, 11, 19, 10, 3, 20);
    for (int32_t value : {0, 1025, -3}) {
        sync.InputTag(value);
        EXPECT_EQ(sync.InputTag(), 0);
        tag.Reading = value;
        EXPECT_EQ(sync.Update(), 0);
    }
    EXPECT_TRUE(tag.Asked.empty());
    sync.Offset(500);
    EXPECT_EQ(sync.Offset(), 120);
    sync.Offset(-5);
    EXPECT_EQ(sync.Offset(), 0);
}

TEST_F(ClockSyncTest, PulseWithinFiveMinutesOfTheHourMovesTheClockToIt) {
    struct Case {
        DateTime at;
        int32_t input, offset;
        double moved;
        DateTime after;
    };
    const Case cases[] = {
        {MakeDateTime(2026, 11, 19, 10, 3, 20), 12, 0, -200, MakeDateTime(2026, 11, 19, 10, 0, 0)},
        {MakeDateTime(2026, 11, 19, 9, 57, 10), 1, 30, 200, MakeDateTime(2026, 11, 19, 10, 0, 30)},
        {MakeDateTime(2026, 12, 31, 23, 58, 0), 1024, 0, 120, MakeDateTime(2027, 1, 1, 0, 0, 0)},
        {MakeDateTime(2026, 11, 19, 10, 5, 59), 1, 0, -359, MakeDateTime(2026, 11, 19, 10, 0, 0)},
        {MakeDateTime(2026, 11, 19, 10, 6, 0), 1, 0, 0, MakeDateTime(2026, 11, 19, 10, 6, 0)},
        {MakeDateTime(2026, 11, 19, 10, 54, 59), 1, 0, 0, MakeDateTime(2026, 11, 19, 10, 54, 59)},
        {MakeDateTime(2026, 11, 19, 10, 55, 0), 1, 0, 300, MakeDateTime(2026, 11, 19, 11, 0, 0)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(LogStamp(c.at));
        ASSERT_FALSE(ClockSimulate(c.at, 1e-9));
        clsClockSync s;
        s.SetTagReading(tag.Call());
        s.InputTag(c.input);
        s.Offset(c.offset);
        tag.Asked.clear();
        tag.Reading = 5;
        EXPECT_EQ(s.Update(), 0);  // the first reading only arms the detection
        EXPECT_EQ(s.LastPulseReading(), 5.0f);
        tag.Reading = 6;
        EXPECT_EQ(s.Update(), c.moved);
        EXPECT_NEAR(ClockNow(), c.after, 0.01 / 86400);
        EXPECT_EQ(tag.Asked, std::vector<int32_t>(2, c.input - 1));
    }
    const std::string log = ClockLog();
    for (const char* line :
         {"Adjust PC Clock. Before = Nov 19, 2026. 10:03:20. After = Nov 19, 2026. 10:00:00. (-200secs).\r\n",
          "Adjust PC Clock. Before = Dec 31, 2026. 23:58:00. After = Jan 01, 2027. 00:00:00. (120secs).\r\n"})
        EXPECT_NE(log.find(line), std::string::npos) << log;
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 5);
}

TEST_F(ClockSyncTest, ChangesThatAreNoPulseOrFarFromTheHourAreOnlyRemembered) {
    sync.InputTag(3);
    At(2026, 11, 19, 10, 30, 0);
    tag.Reading = 5;
    sync.Update();
    tag.Reading = 6;
    EXPECT_EQ(sync.Update(), 0);  // mid-hour
    EXPECT_EQ(sync.LastPulseReading(), 6.0f);
    EXPECT_TRUE(NowIs(2026, 11, 19, 10, 30, 0));

    At(2026, 11, 19, 10, 1, 0);
    tag.Reading = 0;  // a change to 0 is never a pulse
    EXPECT_EQ(sync.Update(), 0);
    EXPECT_EQ(sync.LastPulseReading(), 0.0f);
    tag.Reading = 0;
    EXPECT_EQ(sync.Update(), 0);

    tag.Fails = true;  // a failing read counts as 0
    tag.Reading = 9;
    EXPECT_EQ(sync.Update(), 0);
    EXPECT_EQ(sync.LastPulseReading(), 0.0f);
    EXPECT_TRUE(NowIs(2026, 11, 19, 10, 1, 0));
    EXPECT_EQ(ClockLog(), "");
}

TEST_F(ClockSyncTest, RefusedClockChangeIsLoggedAndReportsNoMove) {
    At(2026, 11, 19, 10, 3, 20);
    std::vector<DateTime> asked;
    sync.SetClockSet([&asked](DateTime when) {
        asked.push_back(when);
        return VbError(ErrPermissionDenied);
    });
    sync.InputTag(12);
    tag.Reading = 5;
    sync.Update();
    tag.Reading = 6;
    EXPECT_EQ(sync.Update(), 0);
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_NEAR(asked[0], MakeDateTime(2026, 11, 19, 10, 0, 0), 0.01 / 86400);
    EXPECT_EQ(sync.LastPulseReading(), 6.0f);
    EXPECT_EQ(ClockLog(), "");
    const std::string errors = TempPrefix::Read(LocalPath(clsLog().ErrFile()));
    EXPECT_NE(errors.find("clsClockSync,Update,,70,Permission denied"), std::string::npos) << errors;
}
