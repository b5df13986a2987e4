// The closing rule and the menu commands around it.
#include <algorithm>

#include "MonitorFixture.h"
#include "host/Telvane.h"

namespace {

using MonitorCloseTest = MonitorTest;

TEST_F(MonitorCloseTest, ExitWhileTheHostJobRunsAsksTheHostToCloseAndKeepsRunning) {
    Start();
    view.CloseMainWindow();  // Options > Exit, or the window's close button
    EXPECT_FALSE(view.Closed);
    EXPECT_FALSE(monitor->Ended());
    EXPECT_EQ(TakeWindowMessages("Tray32WndClass"), std::vector<std::string>{"APPCLOSE"});

    TickAt(30);
    EXPECT_TRUE(Scanned());

    // The host job stops: the next tick ends the monitor, and nothing runs after that.
    host.State().SetJobRunning(0);
    TickAt(31);
    EXPECT_TRUE(view.Closed);
    EXPECT_TRUE(monitor->Ended());
    EXPECT_TRUE(view.CountdownTexts.empty());
    EXPECT_TRUE(TakeWindowMessages("Tray32WndClass").empty());
    TickAt(60);
    EXPECT_TRUE(view.Calls.empty());
}

TEST_F(MonitorCloseTest, LogExitEndsWhateverTheHostDoes) {
    Start();
    monitor->RequestExit();
    view.CloseMainWindow();
    EXPECT_EQ(monitor->ExitRequested, 1);
    EXPECT_TRUE(view.Closed);
    EXPECT_TRUE(monitor->Ended());
    EXPECT_TRUE(TakeWindowMessages("Tray32WndClass").empty());
    EXPECT_FALSE(monitor->SocketServer().IsListening());
}

TEST_F(MonitorCloseTest, LogExitInTheMiddleOfAScanStopsIt) {
    Start();
    At(30);
    view.OnDoEvents = [&] {
        if (view.StatusTexts.back() == "Calling Input_General") {
            monitor->RequestExit();
            view.CloseMainWindow();
        }
    };
    Tick();
    view.OnDoEvents = nullptr;
    EXPECT_TRUE(monitor->Ended());
    EXPECT_EQ(std::count(view.StatusTexts.begin(), view.StatusTexts.end(), "Calling Half Hour Save"), 0);
    EXPECT_EQ(std::count(view.StatusTexts.begin(), view.StatusTexts.end(), "Get Data for Tag 1"), 0);
}

TEST_F(MonitorCloseTest, WithoutAHostJobClosingEnds) {
    host.State().SetJobRunning(0);
    Load();
    view.CloseMainWindow();
    EXPECT_TRUE(view.Closed);
    EXPECT_TRUE(TakeWindowMessages("Tray32WndClass").empty());
}

TEST_F(MonitorCloseTest, LogFailureIsAskedAboutOnlyInDebugMode) {
    // A folder where the main log should be: every line fails.
    std::filesystem::create_directories(LocalPath(MainLogPath()));
    Start();
    AddToLog("one line");
    EXPECT_TRUE(view.Messages.empty());

    monitor.reset();
    ReleaseSingleInstance(Monitor::InstanceName);
    view = RecordingMonitorView();
    CommandLineIs({"/d"});
    Start();
    view.AnswerYesNo = MessageAnswer::Yes;
    monitor->RequestExit();  // so that Yes really ends it
    AddToLog("one line");
    ASSERT_FALSE(view.Messages.empty());
    const auto& asked = view.Messages.back();
    EXPECT_EQ(asked.Title, "Voltaris Monitor");
    EXPECT_EQ(asked.Icon, MessageIcon::Exclamation);
    EXPECT_NE(asked.Text.find("Do you wish to terminate the Voltaris Monitor?"), std::string::npos);
    EXPECT_TRUE(view.Closed);
}

TEST_F(MonitorCloseTest, MenuProgramsThatAreMissingFailOnlyThemselves) {
    Start();
    monitor->StartSetupProgram();
    monitor->StartReportProgram();
    EXPECT_TRUE(Logged("loadvoltarisset_Click, Error 53/ File not found"));
    EXPECT_TRUE(Logged("loadvoltaris_Click, Error 53/ File not found"));
    EXPECT_FALSE(monitor->Ended());

    const AboutInfo about = monitor->About();
    EXPECT_EQ(about.SetupIniFile, "C:\\Telvane\\Job1\\Setup\\VoltarisSetup.ini");
    EXPECT_EQ(about.SetupMtgFile, "C:\\Telvane\\Job1\\Setup\\VoltarisMonitor.mtg");
    EXPECT_TRUE(about.SocketListening);
    EXPECT_GT(about.SocketPort, 0);
}

}  // namespace
