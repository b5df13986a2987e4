// Start-up: the two stages, the switches and the AutoRun programs. A second instance's refusal is
// tested end to end and by the package check.
#include <sys/stat.h>

#include <chrono>
#include <thread>

#include "MonitorFixture.h"
#include "core/CommandLineSwitches.h"
#include "host/Telvane.h"
#include "support/VbText.h"

namespace {

TEST(CommandLineSwitchesTest, FoundAnywhereWithoutRegardToCase) {
    struct Case {
        const char* line;
        bool debug, csv, log;
    };
    // Inside a longer word still counts.
    for (const Case& c : {Case{"--headless", false, false, false}, Case{"/CSV /Log", false, true, true},
                          Case{"x/dummy", true, false, false}, Case{"\\d csv log", false, false, false}}) {
        const CommandLineSwitches s = ReadCommandLineSwitches(c.line);
        EXPECT_EQ(std::vector<bool>({s.DebugMode, s.CsvOnlyMode, s.ScanLogging}), std::vector<bool>({c.debug, c.csv, c.log})) << c.line;
    }
}

TEST_F(MonitorTest, SettingsFileOfAnOlderInstallationIsMovedBeforeItIsRead) {
    std::filesystem::remove(LocalPath(SetupFolderText + std::string("\\VoltarisSetup.ini")));
    HostFixture::WriteFile(host.PrefixDir() / "windows" / "Voltaris.ini", "[general]\r\ntimer1scan=10\r\n");
    Start();
    EXPECT_EQ(monitor->Settings.ScanSeconds, 10);
    EXPECT_NE(ReadText(monitor->SetupIniFile()).find("timer1scan=10"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(host.PrefixDir() / "windows" / "Voltaris.ini"));
}

TEST_F(MonitorTest, StageOneThenTheFirstTickRunsStageTwoOnceAndNothingElse) {
    host.State().SetReading(HostTable::Tags, 0, 42.5f);
    const uint32_t refreshesBefore = host.State().ReadInputModuleCount();
    Load();
    EXPECT_EQ(monitor->State.StartingUp, 1);
    EXPECT_EQ(monitor->State.DataOkFlag, 0);
    EXPECT_EQ(monitor->ExitRequested, 0);
    EXPECT_DOUBLE_EQ(monitor->LastScanTime, MonitorTestStart());
    // The Log menu hidden and its socket item unchecked, not merely never shown.
    ASSERT_TRUE(view.Visible.count(MenuItem::mnuLog) && view.Checked.count(MenuItem::mnuLWindowsSocket));
    EXPECT_FALSE(view.Visible[MenuItem::mnuLog] || view.Checked[MenuItem::mnuLWindowsSocket]);
    EXPECT_EQ(view.Calls, (std::vector<std::string>{"CloseLogWindow", "ShowWait Please wait while loading"}));
    int stage2Hooks = 0;
    monitor->SetStage2Hook([&] { ++stage2Hooks; });
    // A tick that arrives while stage 2 lets events run must not start it again.
    view.OnDoEvents = [&] { monitor->Timer1_Timer(); };
    monitor->Timer1_Timer();
    view.OnDoEvents = nullptr;

    EXPECT_EQ(stage2Hooks, 1);
    EXPECT_EQ(view.CountCalls("SetupGrid 198"), 1);
    EXPECT_EQ(monitor->State.StartingUp, 0);
    for (StatusPanel panel : {StatusPanel::Panel3D1, StatusPanel::Panel3D2, StatusPanel::Panel3D4})
        EXPECT_EQ(view.PanelColours[panel], ColourRed);
    // The first acquisition pass filled the grid at once.
    EXPECT_EQ(RTrim(view.Cell(1, 1)), "Flow");
    EXPECT_FLOAT_EQ(monitor->Values[1].Current, 42.5f);
    EXPECT_EQ(view.Cell(3, 1), "Off Line");
    // Stage 2's tick does no countdown.
    EXPECT_TRUE(view.CountdownTexts.empty());
    EXPECT_GT(host.State().ReadInputModuleCount(), refreshesBefore);
    EXPECT_TRUE(monitor->SocketServer().IsListening());

    Tick();
    EXPECT_EQ(view.CountdownTexts, std::vector<std::string>{" Scan in 30 secs"});
    EXPECT_EQ(view.CountCalls("SetupGrid 198"), 0);
}

// The CSV import and the lack of acquisition over time are tested end to end.
TEST_F(MonitorTest, CsvModeFillsTheGridWithCsvOnlyAndNeverAcquires) {
    CommandLineIs({"/CSV"});
    host.State().SetReading(HostTable::Tags, 0, 42.5f);
    Start();
    TickAt(30);
    ASSERT_TRUE(Scanned());
    EXPECT_EQ(monitor->CsvOnlyMode, 1);
    for (int row = 1; row <= monitor->Setup.TagCount; ++row) {
        ASSERT_EQ(view.Cell(row, 2), "CSV Only") << row;
        ASSERT_EQ(view.Cell(row, 3), "CSV Only") << row;
    }
    EXPECT_FLOAT_EQ(monitor->Values[1].Current, 0.0f);
}

TEST_F(MonitorTest, LogSwitchOutlivesTheSettings) {
    WriteSettings(std::string(DefaultSettings) + "LogScans=0\r\n");
    CommandLineIs({"/log"});
    Start();
    EXPECT_EQ(monitor->Settings.ScanLogging, 1);
    EXPECT_TRUE(view.ViewLogAvailable);

    monitor.reset();
    ReleaseSingleInstance(Monitor::InstanceName);
    CommandLineIs({});
    Start();
    EXPECT_EQ(monitor->Settings.ScanLogging, 0);
    EXPECT_FALSE(view.ViewLogAvailable);
}

TEST_F(MonitorTest, AutoRunStartsTheListUpToTheFirstEmptyKey) {
    // Programs that leave a mark when they run.
    const std::filesystem::path programs = host.ProgramDir();
    for (const char* name : {"one", "two", "three", "four", "five", "six"}) {
        HostFixture::WriteFile(programs / name, "#!/bin/sh\ntouch \"$0.ran\"\n");
        ::chmod((programs / name).c_str(), 0755);
    }
    const auto ran = [&](const std::string& name) {
        for (int i = 0; i < 100 && !std::filesystem::exists(programs / (name + ".ran")); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return std::filesystem::exists(programs / (name + ".ran"));
    };
    const auto autoRun = [&](const std::string& keys) { WriteSettings(std::string(DefaultSettings) + "[AutoRun]\r\n" + keys); };

    // File1 and File2 set, File3 empty: two programs; File4 is never reached.
    autoRun("File1=one\r\nFile2=two\r\nFile3=\r\nFile4=four\r\n");
    Start();
    EXPECT_TRUE(ran("one") && ran("two"));
    // An empty File2 ends the list even with File3 set.
    autoRun("File1=five\r\nFile2=\r\nFile3=three\r\n");
    monitor->AutoRun();
    EXPECT_TRUE(ran("five"));
    // A missing program fails only itself.
    autoRun("File1=missing.exe\r\nFile2=six\r\n");
    monitor->AutoRun();
    EXPECT_TRUE(ran("six"));
    EXPECT_TRUE(Logged("AutoRun, Error 53/ File not found"));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_FALSE(std::filesystem::exists(programs / "three.ran") || std::filesystem::exists(programs / "four.ran"));
}

}  // namespace
