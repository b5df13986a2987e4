// Telling a step of the clock from time passing: the clock against the steady clock at the
// clock's speed, with a margin for reading two clocks one after the other.
#include <gtest/gtest.h>

#include "core/ClockStepWatch.h"
#include "platform/DateSerial.h"

namespace {

constexpr double Second = 1.0 / 86400.0;
const DateTime Start = MakeDateTime(2026, 10, 25, 1, 59, 50);

TEST(ClockStepWatch, NothingBeforeTheFirstMark) {
    ClockStepWatch watch;
    EXPECT_EQ(watch.Step(Start - 3600 * Second, 100, 1), 0);
}

TEST(ClockStepWatch, StepsBackAndOnBeyondTheTimePassed) {
    ClockStepWatch watch;
    watch.Mark(Start, 100, 1);
    EXPECT_EQ(watch.LastMark(), Start);
    // A second passed and the clock moved a second: no step, in either direction of jitter.
    EXPECT_EQ(watch.Step(Start + 1 * Second, 101, 1), 0);
    EXPECT_EQ(watch.Step(Start + 2.9 * Second, 101, 1), 0);
    EXPECT_EQ(watch.Step(Start - 0.9 * Second, 101, 1), 0);
    // Summer time ends: a second passed, the clock shows an hour less.
    EXPECT_NEAR(watch.Step(Start + (1 - 3600) * Second, 101, 1), -3600, 1e-3);
    // Set on by five minutes during a scan that took 20 s.
    EXPECT_NEAR(watch.Step(Start + 320 * Second, 120, 1), 300, 1e-3);
    // The edge of the margin.
    EXPECT_NEAR(watch.Step(Start + 3 * Second, 101, 1), 2, 1e-3);
}

TEST(ClockStepWatch, SimulatedSpeedCountsAndAChangedSpeedTellsNothing) {
    ClockStepWatch watch;
    watch.Mark(Start, 100, 1200);
    // 0.5 s at 1200 times real speed is 10 minutes.
    EXPECT_EQ(watch.Step(Start + 600 * Second, 100.5, 1200), 0);
    EXPECT_NEAR(watch.Step(Start + (600 - 3600) * Second, 100.5, 1200), -3600, 1e-2);
    // The speed changed since the mark: a step cannot be told from the change.
    EXPECT_EQ(watch.Step(Start + 5000 * Second, 100.5, 300), 0);
    watch.Mark(Start + 5000 * Second, 100.5, 300);
    EXPECT_EQ(watch.Step(Start + 5300 * Second, 101.5, 300), 0);
}

}  // namespace
