// How the monitor ends: with the host job, or, when the host's main window goes while its job
// still runs, by asking the host to close ("APPCLOSE" to its tray window) and ending after it.
#include "ScenarioRun.h"

namespace scenario {
namespace {

class Shutdown : public ScenarioTest {
protected:
    // At ten times speed a tick of the monitor is 100 ms; a few scans before the test goes on.
    void StartBoth(const std::string& settings) {
        Launch(At(2026, 11, 19, 10, 2), 10, OneMeterSite("Shutdown", "Incomer", 100), RateTagSetup("Incomer"), "End", 5,
               settings);
        ASSERT_FALSE(HasFatalFailure());
        ASSERT_TRUE(WaitFor([&] { return ScanStamps().size() >= 3 || !Alive(monitor_); }, 20s));
        ASSERT_TRUE(Alive(monitor_)) << "the monitor ended by itself";
    }

    // The host's main window closed while its job goes on: its entry leaves the prefix's window
    // registry (<prefix>/run/windows, one file a window, "class=" on its first line).
    void CloseHostMainWindow() {
        int removed = 0;
        for (const auto& entry : fs::directory_iterator(root_ / "prefix" / "run" / "windows")) {
            if (ReadAll(entry.path()).rfind("class=TelvaneV5\n", 0) == 0) removed += fs::remove(entry.path());
        }
        ASSERT_EQ(removed, 1) << "no main window of the host in the registry";
        const std::string status = Host({"status"}).Out;
        ASSERT_NE(status.find("job running: yes"), std::string::npos) << status;
        ASSERT_EQ(status.find("TelvaneV5"), std::string::npos) << status;
    }
};

TEST_F(Shutdown, HostKilledWithoutStoppingItsJobEndsTheMonitorWithinSeconds) {
    ASSERT_NO_FATAL_FAILURE(StartBoth(""));
    // No stop: the job flag stays set in the point state, and the host's windows and tray go with it.
    ASSERT_EQ(::kill(host_, SIGKILL), 0);
    const auto killed = std::chrono::steady_clock::now();
    EXPECT_EQ(WaitExit(monitor_, 10s), 0) << "the monitor runs on beside a dead host";
    // The libraries look at the job's owner once a second, then a tick of 100 ms and the ending;
    // room for a busy machine.
    EXPECT_LT(std::chrono::steady_clock::now() - killed, 5s);
    EXPECT_EQ(WaitExit(host_, 5s), 128 + SIGKILL);
    EXPECT_EQ(ErrorLines(), "");
    EXPECT_TRUE(Records(StoreFile("End", At(2026, 11, 1, 0, 0))).Ok) << "the store file does not read back whole";
}

TEST_F(Shutdown, HostMainWindowGoneAsksTheHostToCloseAndTheMonitorEndsAfterIt) {
    ASSERT_NO_FATAL_FAILURE(StartBoth(""));  // SCADArun reads "yes" by default
    ASSERT_NO_FATAL_FAILURE(CloseHostMainWindow());
    // The next scan's auto close finds the window gone while the job runs: the closing rule
    // posts APPCLOSE to the host's tray window, the host ends its job, the monitor follows.
    EXPECT_EQ(WaitExit(host_, 15s), 0) << "the host was not asked to close";
    EXPECT_NE(ReadAll(root_ / "host.out").find("close requested (APPCLOSE)"), std::string::npos)
        << ReadAll(root_ / "host.out");
    EXPECT_EQ(WaitExit(monitor_, 10s), 0) << "the monitor did not end after the host";
}

TEST_F(Shutdown, WithoutAutoCloseTheMonitorRunsOnUntilTheHostStopsThenEndsWithinATick) {
    ASSERT_NO_FATAL_FAILURE(StartBoth("SCADArun=no\n"));
    ASSERT_NO_FATAL_FAILURE(CloseHostMainWindow());
    const std::size_t scans = ScanStamps().size();
    // Four more scans (5 simulated seconds apart).
    ASSERT_TRUE(WaitFor([&] { return ScanStamps().size() >= scans + 4 || !Alive(monitor_); }, 20s));
    EXPECT_TRUE(Alive(monitor_));
    EXPECT_TRUE(Alive(host_));
    EXPECT_EQ(ReadAll(root_ / "host.out").find("APPCLOSE"), std::string::npos);

    const Result stop = Host({"stop"});
    ASSERT_EQ(stop.ExitCode, 0) << stop.Err;
    const auto stopped = std::chrono::steady_clock::now();
    EXPECT_EQ(WaitExit(host_, 10s), 0);
    EXPECT_EQ(WaitExit(monitor_, 10s), 0) << "the monitor did not end with the host";
    // A tick is 100 ms here; two and the process's own ending, with room for a busy machine.
    EXPECT_LT(std::chrono::steady_clock::now() - stopped, 2s);
    EXPECT_EQ(ErrorLines(), "");
}

}  // namespace
}  // namespace scenario
