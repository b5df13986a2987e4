// The closing rule and the menu commands around it. The monitor ending with the host is tested
// end to end.
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

    // Log > Exit ends whatever the host does.
    monitor->RequestExit();
    view.CloseMainWindow();
    EXPECT_TRUE(view.Closed);
    EXPECT_TRUE(monitor->Ended());
    EXPECT_TRUE(TakeWindowMessages("Tray32WndClass").empty());
    EXPECT_FALSE(monitor->SocketServer().IsListening());
    TickAt(60);
    EXPECT_TRUE(view.Calls.empty());
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

// The monitor's own prompt, installed at start-up in place of the window's.
TEST_F(MonitorCloseTest, LogFailureIsAskedAboutOnlyInDebugMode) {
    std::filesystem::create_directories(LocalPath(MainLogPath()));  // every line fails
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
    EXPECT_EQ(view.Messages.back().Title, "Voltaris Monitor");
    EXPECT_EQ(view.Messages.back().Icon, MessageIcon::Exclamation);
    EXPECT_NE(view.Messages.back().Text.find("Do you wish to terminate the Voltaris Monitor?"), std::string::npos);
    EXPECT_TRUE(view.Closed);
}

TEST_F(MonitorCloseTest, MenuProgramsThatAreMissingFailOnlyThemselves) {
    Start();
    monitor->StartSetupProgram();
    monitor->StartReportProgram();
    EXPECT_TRUE(Logged("loadvoltarisset_Click, Error 53/ File not found"));
    EXPECT_TRUE(Logged("loadvoltaris_Click, Error 53/ File not found"));
    EXPECT_FALSE(monitor->Ended());
}

}  // namespace
