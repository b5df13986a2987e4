// How the monitor ends with the host job: stopped, or its host killed without a stop. (The
// closing rule for a host window that goes while the job runs is a unit test of the monitor.)
#include "ScenarioRun.h"

namespace scenario {
namespace {

class Shutdown : public ScenarioTest {
protected:
    // At ten times speed a tick of the monitor is 100 ms; a few scans before the test goes on.
    void SetUp() override {
        ScenarioTest::SetUp();
        Launch(At(2026, 11, 19, 10, 2), 10, OneMeterSite("Shutdown", "Incomer", 100), RateTagSetup("Incomer"), "End", 5);
        ASSERT_FALSE(HasFatalFailure());
        ASSERT_TRUE(WaitFor([&] { return ScanStamps().size() >= 3 || !Alive(monitor_); }, 20s));
        ASSERT_TRUE(Alive(monitor_)) << "the monitor ended by itself";
    }
};

TEST_F(Shutdown, HostStopEndsTheMonitorWithinATickOrTwo) {
    const Result stop = Host({"stop"});
    ASSERT_EQ(stop.ExitCode, 0) << stop.Err;
    const auto stopped = std::chrono::steady_clock::now();
    EXPECT_EQ(WaitExit(host_, 10s), 0);
    EXPECT_EQ(WaitExit(monitor_, 10s), 0) << "the monitor did not end with the host";
    // Two ticks and the process's own ending, with room for a busy machine.
    EXPECT_LT(std::chrono::steady_clock::now() - stopped, 2s);
    EXPECT_EQ(ErrorLines(), "");
}

TEST_F(Shutdown, HostKilledWithoutStoppingItsJobEndsTheMonitorWithinSeconds) {
    // No stop: the job flag stays set in the point state, and the host's windows and tray go with it.
    ASSERT_EQ(::kill(host_, SIGKILL), 0);
    const auto killed = std::chrono::steady_clock::now();
    EXPECT_EQ(WaitExit(monitor_, 10s), 0) << "the monitor runs on beside a dead host";
    // The libraries look at the job's owner once a second, then a tick and the ending.
    EXPECT_LT(std::chrono::steady_clock::now() - killed, 5s);
    EXPECT_EQ(WaitExit(host_, 5s), 128 + SIGKILL);
    EXPECT_EQ(ErrorLines(), "");
    EXPECT_TRUE(Records(StoreFile("End", At(2026, 11, 1, 0, 0))).Ok) << "the store file does not read back whole";
}

}  // namespace
}  // namespace scenario
