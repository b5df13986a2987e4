// Start-up: the two stages, the switches, the single-instance refusal and the AutoRun programs.
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

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
    WriteSettings(std::string(DefaultSettings) + "errorlog=yes\r\nDiagFile=C:\\diag.txt\r\n");
    host.State().SetReading(HostTable::Tags, 0, 42.5f);
    const uint32_t refreshesBefore = host.State().ReadInputModuleCount();
    Load();
    EXPECT_EQ(monitor->State.StartingUp, 1);
    EXPECT_EQ(monitor->State.DataOkFlag, 0);
    EXPECT_EQ(monitor->ExitRequested, 0);
    EXPECT_DOUBLE_EQ(monitor->LastScanTime, MonitorTestStart());
    EXPECT_EQ(monitor->SetupIniFile(), "C:\\Telvane\\Job1\\Setup\\VoltarisSetup.ini");
    EXPECT_EQ(monitor->SetupMtgFile(), "C:\\Telvane\\Job1\\Setup\\VoltarisMonitor.mtg");
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
    EXPECT_NE(ReadText("C:\\diag.txt").find(" energy monitor Loaded "), std::string::npos);
    EXPECT_TRUE(monitor->SocketServer().IsListening());

    Tick();
    EXPECT_EQ(view.CountdownTexts, std::vector<std::string>{" Scan in 30 secs"});
    EXPECT_EQ(view.CountCalls("SetupGrid 198"), 0);
}

TEST_F(MonitorTest, CsvModeFillsTheGridWithCsvOnlyAndNeverAcquires) {
    CommandLineIs({"/CSV"});
    host.State().SetReading(HostTable::Tags, 0, 42.5f);
    Start();
    EXPECT_EQ(monitor->CsvOnlyMode, 1);
    for (int row = 1; row <= monitor->Setup.TagCount; ++row) {
        ASSERT_EQ(view.Cell(row, 2), "CSV Only") << row;
        ASSERT_EQ(view.Cell(row, 3), "CSV Only") << row;
    }
    EXPECT_FLOAT_EQ(monitor->Values[1].Current, 0.0f);

    // The CSV import runs in every scan, "/csv" or not.
    HostFixture::WriteFile(host.ProgramDir() / "vtcsvlog" / "meter.csv", "2026,11,19,20,1,12.5\r\n");
    TickAt(30);
    ASSERT_TRUE(Scanned());
    EXPECT_FALSE(std::filesystem::exists(host.ProgramDir() / "vtcsvlog" / "meter.csv"));
    EXPECT_NE(ReadText(host.ProgramDir().string() + "/vtcsvlog/vtcsvlog.log").find("Total = 1, Error = 0"),
              std::string::npos);
    for (const std::string& text : view.StatusTexts) {
        EXPECT_NE(text, "Calling Input_General");
        EXPECT_NE(text, "Calling Half Hour Save");
    }
    EXPECT_EQ(view.Cell(1, 2), "CSV Only");
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

TEST_F(MonitorTest, SecondInstanceIsRefusedAndNeverTouchesTheHost) {
    WriteSettings(std::string(DefaultSettings) + "errorlog=yes\r\nDiagFile=C:\\diag.txt\r\n");
    // Another process holds the instance until its pipe closes.
    int ready[2], release[2];
    ASSERT_TRUE(::pipe(ready) == 0 && ::pipe(release) == 0);
    const pid_t first = ::fork();
    if (first == 0) {
        const char answer = AcquireSingleInstance(Monitor::InstanceName) ? 'y' : 'n';
        (void)!::write(ready[1], &answer, 1);
        (void)!::read(release[0], ready, 1);
        ::_exit(0);
    }
    char answer = 0;
    ASSERT_TRUE(::read(ready[0], &answer, 1) == 1 && answer == 'y');
    Load();
    monitor->Timer1_Timer();
    (void)!::write(release[1], "x", 1);
    ::waitpid(first, nullptr, 0);
    for (int fd : {ready[0], ready[1], release[0], release[1]}) ::close(fd);

    ASSERT_EQ(view.Messages.size(), 1u);
    EXPECT_EQ(view.Messages[0].Text, "Voltaris Monitor is already loaded");
    EXPECT_EQ(view.Messages[0].Title, "Voltaris Monitor");
    EXPECT_EQ(view.Messages[0].Icon, MessageIcon::Critical);
    EXPECT_TRUE(view.ProgramEnded);
    EXPECT_TRUE(monitor->Ended());
    EXPECT_EQ(view.GridRows, -1);
    EXPECT_TRUE(TakeWindowMessages("Tray32WndClass").empty());
    const std::string diag = ReadText("C:\\diag.txt");
    EXPECT_NE(diag.find(" Voltaris Monitor already Loaded "), std::string::npos);
    EXPECT_EQ(diag.find(" energy monitor Loaded "), std::string::npos);

    Tick();
    EXPECT_TRUE(view.Calls.empty());
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
