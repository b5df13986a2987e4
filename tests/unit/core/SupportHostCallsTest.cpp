// The clock synchronisation and the watchdog wired to the stand-in host and the view: the hour tag
// read by its zero-based index, the watchdog's writes landing on the V4 output tag and the label
// following them.
#include <gtest/gtest.h>

#include <vector>

#include "ScanFixture.h"
#include "core/SupportHostCalls.h"

TEST(SupportHostCalls, WatchdogTogglesTheHostOutputAndTheLabel) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f(4);
    ASSERT_TRUE(f.Installed());
    clsWatchdog watchdog;
    ConnectWatchdog(watchdog, f.Telvn(), f.view);
    watchdog.OutputTag(2005);
    watchdog.ToggleSecs(10);

    std::vector<float> written;
    for (int second = 1; second <= 45; ++second) {
        f.SetNow(TestStart() + Seconds(second));
        const uint32_t writesBefore = f.Host().WriteCount(HostTable::OutputTags, 4);
        watchdog.Update();
        if (f.Host().WriteCount(HostTable::OutputTags, 4) != writesBefore) {
            written.push_back(f.Host().Reading(HostTable::OutputTags, 4));
            // The label is on exactly while the last value written is 1.
            ASSERT_FALSE(f.view.WatchdogLabels.empty());
            EXPECT_EQ(f.view.WatchdogLabels.back(), written.back() == 1.0f);
        }
    }
    EXPECT_EQ(written, (std::vector<float>{1, 0, 1, 0}));
    EXPECT_EQ(f.view.WatchdogLabels.size(), 4u);
    EXPECT_EQ(f.Host().LastInsertStack(HostTable::OutputTags, 4), 0);
}

TEST(SupportHostCalls, ClockSyncReadsTheHourTag) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f(5);
    ASSERT_TRUE(f.Installed());
    clsClockSync clockSync;
    ConnectClockSync(clockSync, f.Telvn());
    clockSync.InputTag(12);
    f.Host().SetReading(HostTable::Tags, 11, 41);
    f.SetNow(TestStart() + Seconds(2 * 60 + 5));

    EXPECT_EQ(clockSync.Update(), 0);
    EXPECT_EQ(clockSync.LastPulseReading(), 41.0f);
    f.Host().SetReading(HostTable::Tags, 11, 42);
    EXPECT_EQ(clockSync.Update(), -(2 * 60 + 5));
    EXPECT_NEAR(ScanFixture::Now(), TestStart(), Seconds(0.01));
}
