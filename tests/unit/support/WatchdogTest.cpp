// The watchdog on the simulated clock: alternating writes at the toggle interval to the output's
// index, the label following the value written, second boundaries, and the off state.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "common/TempPrefix.h"
#include "platform/Clock.h"
#include "platform/DateSerial.h"
#include "support/clsWatchdog.h"

namespace {

struct Write {
    int32_t Output;
    float Value;
    int32_t InsertStack;
    int32_t Reserved;
    friend bool operator==(const Write&, const Write&) = default;
};

class WatchdogTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_FALSE(ClockSimulate(Start, 1e-9));
        Create();
    }
    // The first toggle counts from the watchdog's creation.
    void Create() {
        watchdog = std::make_unique<clsWatchdog>();
        watchdog->SetTagOutputValue([this](int32_t output, float value, int32_t insertStack, int32_t reserved) {
            writes.push_back({output, value, insertStack, reserved});
            VbResult<int32_t> result;
            if (failWrites) result.Error = VbError(ErrFileNotFound);
            return result;
        });
        watchdog->SetLabel([this](bool on) { labels.push_back(on); });
        watchdog->SetDoEvents([this] { ++doEvents; });
    }

    void UpdateAt(double seconds) {
        ClockSet(Start + seconds / 86400);
        watchdog->Update();
    }

    const DateTime Start = MakeDateTime(2026, 11, 19, 10, 0, 0);
    TempPrefix prefix;
    std::unique_ptr<clsWatchdog> watchdog;
    std::vector<Write> writes;
    std::vector<bool> labels;
    int doEvents = 0;
    bool failWrites = false;
};

}  // namespace

TEST_F(WatchdogTest, SettingsAreHeldToTheirRanges) {
    for (int32_t rejected : {2000, 4049, 0, -2005}) {
        watchdog->OutputTag(rejected);
        EXPECT_EQ(watchdog->OutputTag(), 0) << rejected;
    }
    for (int32_t accepted : {2001, 4048}) {
        watchdog->OutputTag(accepted);
        EXPECT_EQ(watchdog->OutputTag(), accepted);
    }
    watchdog->ToggleSecs(200);
    EXPECT_EQ(watchdog->ToggleSecs(), 120);
    watchdog->ToggleSecs(-1);
    EXPECT_EQ(watchdog->ToggleSecs(), 0);
}

TEST_F(WatchdogTest, CountsSecondBoundariesNotElapsedTime) {
    ClockSet(Start + 0.9 / 86400);
    Create();
    watchdog->OutputTag(2001);
    watchdog->ToggleSecs(1);
    UpdateAt(0.95);
    EXPECT_TRUE(writes.empty());
    UpdateAt(1.1);  // a fifth of a second later, but past a boundary
    EXPECT_EQ(writes.size(), 1u);
}

TEST_F(WatchdogTest, OffNeverWritesNorMovesTheLabel) {
    watchdog->ToggleSecs(0);
    for (int second = 0; second < 5; ++second) UpdateAt(second);
    EXPECT_TRUE(writes.empty());
    EXPECT_TRUE(labels.empty());
    EXPECT_EQ(watchdog->WatchdogState(), 0.0f);
}

TEST_F(WatchdogTest, FailingWriteStillToggles) {
    watchdog->OutputTag(2002);
    failWrites = true;
    UpdateAt(1);
    failWrites = false;
    UpdateAt(2);
    EXPECT_EQ(writes, (std::vector<Write>{{1, 1, 0, 0}, {1, 0, 0, 0}}));
    EXPECT_EQ(labels, (std::vector<bool>{true, false}));
    EXPECT_EQ(doEvents, 2);  // window events once a toggle
}
