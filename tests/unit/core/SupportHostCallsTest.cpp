// The clock synchronisation and the watchdog wired to the stand-in host and the view: the hour tag
// read by its zero-based index, the watchdog's writes landing on the V4 output tag and the label
// following them.
#include "ScanFixture.h"
#include "core/SupportHostCalls.h"

namespace {

class SupportHostCalls : public ScanTestV4 {};

TEST_F(SupportHostCalls, WatchdogTogglesTheHostOutputAndTheLabel) {
    clsWatchdog watchdog;
    ConnectWatchdog(watchdog, Telvn(), view);
    watchdog.OutputTag(2005);
    watchdog.ToggleSecs(10);

    std::vector<float> written;
    for (int second = 1; second <= 45; ++second) {
        At(second);
        const uint32_t writesBefore = Host().WriteCount(HostTable::OutputTags, 4);
        watchdog.Update();
        if (Host().WriteCount(HostTable::OutputTags, 4) != writesBefore) {
            written.push_back(Host().Reading(HostTable::OutputTags, 4));
            // The label is on exactly while the last value written is 1.
            ASSERT_FALSE(view.Calls.empty());
            EXPECT_EQ(view.Calls.back(), written.back() == 1.0f ? "WatchDog on" : "WatchDog off");
        }
    }
    EXPECT_EQ(written, (std::vector<float>{1, 0, 1, 0}));
    EXPECT_EQ(view.Calls.size(), 4u);
    EXPECT_EQ(Host().LastInsertStack(HostTable::OutputTags, 4), 0);
}

TEST_F(SupportHostCalls, ClockSyncReadsTheHourTag) {
    clsClockSync clockSync;
    ConnectClockSync(clockSync, Telvn());
    clockSync.InputTag(12);
    Host().SetReading(HostTable::Tags, 11, 41);
    SetNow(TestStart() + Seconds(2 * 60 + 5));

    EXPECT_EQ(clockSync.Update(), 0);
    EXPECT_EQ(clockSync.LastPulseReading(), 41.0f);
    Host().SetReading(HostTable::Tags, 11, 42);
    EXPECT_EQ(clockSync.Update(), -(2 * 60 + 5));
    EXPECT_NEAR(Now(), TestStart(), Seconds(0.01));
}

}  // namespace
