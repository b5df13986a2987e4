// The one-second tick: countdown, the scan's status texts, the clock set back, the watchdog, the
// setup file reload and the colours of the status panels.
#include <algorithm>
#include <chrono>

#include "MonitorFixture.h"
#include "common/TempPrefix.h"
#include "core/MonitorTimer.h"
#include "support/VbText.h"

namespace {

const std::string StorePathText = "c:\\telvane\\job1\\data\\voltaris\\test2611.lum";

// The texts of list, in order, that are among wanted.
std::vector<std::string> Only(const std::vector<std::string>& list, const std::vector<std::string>& wanted) {
    std::vector<std::string> kept;
    for (const std::string& s : list)
        if (std::find(wanted.begin(), wanted.end(), s) != wanted.end()) kept.push_back(s);
    return kept;
}

TEST_F(MonitorTest, ScanShowsItsStepsInOrder) {
    Start();
    TickAt(30);
    const std::vector<std::string> steps = {"Scanning Now" + NL(1) + StorePathText,
                                            "Checking Setup File",
                                            "Checking Auto Close",
                                            "Calling Input_General",
                                            "Get Data for Tag 1",
                                            "Calling Half Hour Save",
                                            "Display if Data is OK",
                                            "Find Tags not used",
                                            "Voltaris Monitor" + NL(1) + StorePathText};
    EXPECT_EQ(Only(view.StatusTexts, steps), steps);
    EXPECT_EQ(view.CountdownTexts, std::vector<std::string>{" Scan in 0 secs"});
    EXPECT_EQ(view.Panels[StatusPanel::Panel3D1], "Thu, Nov 19 2026" + NL(1) + "10:05:30");
    EXPECT_DOUBLE_EQ(monitor->LastScanTime, MonitorTestStart() + Secs(30));
    // Nothing saved since start-up: the panels stay red.
    EXPECT_EQ(view.PanelColours[StatusPanel::Panel3D2], ColourRed);

    monitor->Settings.Demo = 1;
    TickAt(61);
    EXPECT_EQ(view.StatusTexts.front(), "Scanning Now - Demo Random Data" + NL(1) + "Demo Mode - No File Storage");
}

TEST_F(MonitorTest, CountdownRoundsHalvesToEvenAndScansOnlyAtZero) {
    Start();
    struct Case {
        double seconds;
        const char* shown;
    };
    for (const Case& c : {Case{1, " Scan in 29 secs"}, Case{25.2, " Scan in 5 secs"}, Case{29.4, " Scan in 1 secs"},
                          Case{29.6, " Scan in 0 secs"}, Case{29.9, " Scan in 0 secs"}}) {
        TickAt(c.seconds);
        EXPECT_EQ(view.CountdownTexts, std::vector<std::string>{c.shown}) << c.seconds;
        EXPECT_FALSE(Scanned()) << c.seconds;
        EXPECT_EQ(view.StatusTexts, std::vector<std::string>{"Voltaris Monitor" + NL(1) + StorePathText});
    }
    TickAt(30);
    EXPECT_TRUE(Scanned());

    monitor->Settings.ScanSeconds = 0;
    TickAt(90);
    EXPECT_EQ(view.CountdownTexts, std::vector<std::string>{"Off Line"});
    EXPECT_FALSE(Scanned());
}

// The clock set back an hour by someone else between two ticks: the tick sees the step, moves the
// measured tags' time bases with it and logs it; the next scan books only the time that passed and
// saves what it gathered as the period that ran before the step.
TEST_F(MonitorTest, ClockSetBackByOthersBooksNoNegativeTimeAndEndsThePeriodThatRan) {
    WriteSettings("[general]\r\nStoreFilePrefix=Test\r\ntimer1scan=30\r\nLogScans=1\r\n");
    host.State().SetReading(HostTable::Tags, 0, 60.0f);  // a unit a minute
    Start();
    TickAt(30);  // 30 s at 60 an hour
    ASSERT_TRUE(Logged("M1,60.00,0.50,60.00;"));
    TickAt(31);
    const DateTime lastRead = monitor->Values[1].LastReadTime;
    const DateTime displayRead = monitor->Values[2].LastReadTime;
    const DateTime offlineRead = monitor->Values[3].LastReadTime;

    StepTo(31 - 3600);
    Tick();
    EXPECT_TRUE(Logged("PC clock stepped by -3600 secs"));
    EXPECT_NEAR((monitor->Values[1].LastReadTime - lastRead) * 86400, -3600, 0.01);
    EXPECT_DOUBLE_EQ(monitor->Values[2].LastReadTime, displayRead);
    EXPECT_DOUBLE_EQ(monitor->Values[3].LastReadTime, offlineRead);
    EXPECT_DOUBLE_EQ(monitor->State.ClockStepFrom, MonitorTestStart() + Secs(31));
    // The countdown starts again from the step.
    EXPECT_EQ(view.CountdownTexts, std::vector<std::string>{" Scan in 0 secs"});
    EXPECT_DOUBLE_EQ(monitor->LastScanTime, Now());
    // The next tick is time passing, not a step.
    TickAt(31 - 3600 + 29);
    EXPECT_FALSE(Scanned());
    EXPECT_EQ(view.CountdownTexts, std::vector<std::string>{" Scan in 1 secs"});
    EXPECT_DOUBLE_EQ(monitor->State.ClockStepFrom, MonitorTestStart() + Secs(31));

    // Half a unit from 10:05:00 to 10:05:30, then 31 s more from 10:05:30 to the step and on.
    TickAt(31 - 3600 + 30);
    ASSERT_TRUE(Scanned());
    EXPECT_TRUE(Logged("M1,60.00,1.02,60.00;"));
    EXPECT_EQ(monitor->State.ClockStepFrom, 0);
    EXPECT_DOUBLE_EQ(monitor->State.LastSavedEnd, MakeDateTime(2026, 11, 19, 10, 30, 0));
    EXPECT_EQ(monitor->State.LastSavedPeriod, 19);  // 09:00 to 09:30 runs now
    EXPECT_EQ(monitor->Values[1].Integrated, 0.0f);
    const std::vector<std::string> lines = MainLogLines();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [](const std::string& l) { return l.find("Error") != std::string::npos; }), 0);
}

TEST_F(MonitorTest, WatchdogTogglesEveryTick) {
    WriteSettings(std::string(DefaultSettings) + "[Monitor_WatchDog]\r\nOutputTag=2005\r\nSeconds=0\r\n");
    Start();
    std::vector<float> written;
    for (int i = 1; i <= 3; ++i) {
        TickAt(i);
        written.push_back(host.State().Reading(HostTable::OutputTags, 4));
        EXPECT_EQ(view.CountCalls(i % 2 == 1 ? "WatchDog on" : "WatchDog off"), 1) << i;
    }
    EXPECT_EQ(written, (std::vector<float>{1, 0, 1}));
}

// The whole reload is tested end to end; here, that it comes before this scan's acquisition.
TEST_F(MonitorTest, SetupFileSavedBetweenScansReloadsWithinTheSameScan) {
    Start();
    WriteSettings("[general]\r\nStoreFilePrefix=Test\r\ntimer1scan=10\r\n");
    TouchTagSetup();
    TickAt(30);
    const std::vector<std::string> steps{"Panel3D2 Checking Setup File", "ShowWait Please wait while loading",
                                         "ShowWaitMessage Getting INI Data", "CloseWait", "Panel3D2 Calling Input_General"};
    EXPECT_EQ(Only(view.Calls, steps), steps);
    EXPECT_EQ(monitor->Settings.ScanSeconds, 10);
    // Unchanged since: no reload, and the new interval counts.
    TickAt(41);
    EXPECT_TRUE(Scanned());
    EXPECT_EQ(view.CountCalls("ShowWait Please wait while loading"), 0);
}

TEST_F(MonitorTest, PanelsTurnDarkBlueOnceAPeriodIsSavedNormally) {
    Start();
    TickAt(30);
    EXPECT_EQ(view.PanelColours[StatusPanel::Panel3D4], ColourRed);
    // 10:30 ends the period: the save after start-up sets the flag.
    TickAt(25 * 60 + 30);
    ASSERT_TRUE(Scanned());
    EXPECT_EQ(monitor->State.DataOkFlag, 1);
    for (StatusPanel panel : {StatusPanel::Panel3D1, StatusPanel::Panel3D2, StatusPanel::Panel3D4})
        EXPECT_EQ(view.PanelColours[panel], ColourDarkBlue);
}

TEST_F(MonitorTest, NoScanStartsWhileAnotherRuns) {
    Start();
    At(30);
    int nested = 0;
    view.OnDoEvents = [&] {
        ++nested;
        At(60);  // a whole interval later, as if the scan were slow
        monitor->Timer1_Timer();
    };
    Tick();
    view.OnDoEvents = nullptr;
    EXPECT_GT(nested, 0);
    EXPECT_EQ(std::count(view.StatusTexts.begin(), view.StatusTexts.end(), "Checking Setup File"), 1);
    EXPECT_EQ(view.CountdownTexts, std::vector<std::string>{" Scan in 0 secs"});
}

TEST(MonitorTimerTest, FirstTickComesSoonThenEachFollowsTheClockSpeed) {
    TempPrefix prefix;
    EnsureCoreApplication();
    ClockSimulate(MonitorTestStart(), 4);  // a second is 250 ms
    int ticks = 0;
    std::vector<int> intervals;
    MonitorTimer timer([&] {
        if (++ticks == 2) ClockSimulate(ClockNow(), 20);
    });
    timer.Start();
    const auto until = [&](int n) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (ticks < n && std::chrono::steady_clock::now() < deadline)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
        intervals.push_back(timer.Interval());
    };
    intervals.push_back(timer.Interval());
    until(1);
    until(3);
    timer.Stop();
    EXPECT_EQ(intervals, (std::vector<int>{100, 250, 50}));
}

}  // namespace
