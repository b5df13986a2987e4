// PC clock synchronisation on the simulated clock: the hour pulse, the windows around the full hour,
// the year's end, the clock log line, readings that are not pulses, and a refused clock change.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "common/TempPrefix.h"
#include "platform/Clock.h"
#include "platform/DateSerial.h"
#include "platform/Paths.h"
#include "platform/Programs.h"
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

    // Arms the detection with reading, then changes the tag to next and updates once.
    double Pulse(float reading, float next) {
        tag.Reading = reading;
        sync.Update();
        tag.Reading = next;
        return sync.Update();
    }

    TempPrefix prefix;
    HourTag tag;
    clsClockSync sync;
};

}  // namespace

TEST_F(ClockSyncTest, SettingsAndOffState) {
    EXPECT_EQ(sync.ClockLogFile(), PathJoin(ProgramFolder(), ProgramName() + "_PC_Clock.log"));
    EXPECT_EQ(sync.LastPulseReading(), -1.0f);
    At(2026, 11, 19, 10, 3, 20);
    for (int32_t value : {0, 1025, -3}) {
        sync.InputTag(value);
        EXPECT_EQ(sync.InputTag(), 0);
        EXPECT_EQ(Pulse(5, 6), 0);
    }
    EXPECT_TRUE(tag.Asked.empty());
    sync.Offset(500);
    EXPECT_EQ(sync.Offset(), 120);
    sync.Offset(-5);
    EXPECT_EQ(sync.Offset(), 0);
}

TEST_F(ClockSyncTest, PulseSoonAfterTheHourSetsTheClockBack) {
    At(2026, 11, 19, 10, 3, 20);
    sync.InputTag(12);
    tag.Reading = 5;
    EXPECT_EQ(sync.Update(), 0);  // the first reading only arms the detection
    EXPECT_EQ(sync.LastPulseReading(), 5.0f);
    EXPECT_TRUE(NowIs(2026, 11, 19, 10, 3, 20));

    tag.Reading = 6;
    EXPECT_EQ(sync.Update(), -(3 * 60 + 20));
    EXPECT_TRUE(NowIs(2026, 11, 19, 10, 0, 0));
    EXPECT_EQ(tag.Asked, (std::vector<int32_t>{11, 11}));
    EXPECT_EQ(ClockLog(),
              "Adjust PC Clock. Before = Nov 19, 2026. 10:03:20. After = Nov 19, 2026. 10:00:00. (-200secs).\r\n");
}

TEST_F(ClockSyncTest, PulseShortlyBeforeTheHourSetsTheClockForward) {
    At(2026, 11, 19, 9, 57, 10);
    sync.InputTag(1);
    sync.Offset(30);
    EXPECT_EQ(Pulse(1, 2), (2 * 60 + 50) + 30);
    EXPECT_TRUE(NowIs(2026, 11, 19, 10, 0, 30));
}

TEST_F(ClockSyncTest, PulseBeforeMidnightOfTheYearsEndMovesDateAndTime) {
    At(2026, 12, 31, 23, 58, 0);
    sync.InputTag(1024);
    EXPECT_EQ(Pulse(7, 8), 120);
    EXPECT_TRUE(NowIs(2027, 1, 1, 0, 0, 0));
    EXPECT_EQ(ClockLog(),
              "Adjust PC Clock. Before = Dec 31, 2026. 23:58:00. After = Jan 01, 2027. 00:00:00. (120secs).\r\n");
}

TEST_F(ClockSyncTest, ChangesThatAreNoPulseOrFarFromTheHourAreOnlyRemembered) {
    sync.InputTag(3);
    At(2026, 11, 19, 10, 30, 0);
    EXPECT_EQ(Pulse(5, 6), 0);  // mid-hour
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
    EXPECT_EQ(Pulse(5, 6), 0);
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_NEAR(asked[0], MakeDateTime(2026, 11, 19, 10, 0, 0), 0.01 / 86400);
    EXPECT_EQ(sync.LastPulseReading(), 6.0f);
    EXPECT_EQ(ClockLog(), "");
    const std::string errors = TempPrefix::Read(LocalPath(clsLog().ErrFile()));
    EXPECT_NE(errors.find("clsClockSync,Update,,70,Permission denied"), std::string::npos) << errors;
}

TEST_F(ClockSyncTest, WindowIsFiveMinutesEitherSideOfTheHour) {
    sync.InputTag(1);
    struct Case {
        int minute, second;
        double moved;
    };
    float reading = 1;
    for (const Case& c : {Case{5, 59, -(5 * 60 + 59)}, Case{6, 0, 0}, Case{54, 59, 0}, Case{55, 0, 5 * 60}}) {
        At(2026, 11, 19, 10, c.minute, c.second);
        EXPECT_EQ(Pulse(reading, reading + 1), c.moved) << c.minute << ":" << c.second;
        reading += 1;  // arming with the last reading is no pulse
    }
}
