// The headless view: message boxes answered with their default and logged, and the window's
// close ending the event loop only when the monitor's closing rule allows it.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTimer>
#include <unistd.h>

#include "MonitorFixture.h"
#include "common/TempPrefix.h"
#include "core/HeadlessView.h"

namespace {

class CloseRule : public MonitorCommands {
public:
    bool Allow = false;
    int Asked = 0;
    bool QueryClose() override {
        ++Asked;
        return Allow;
    }
    void RequestExit() override {}
    void ReloadSetup() override {}
    void StartSetupProgram() override {}
    void StartReportProgram() override {}
    void ViewLog() override {}
    AboutInfo About() const override { return {}; }
};

// The log keeps one line per message with a visible mark where each run of line breaks stood;
// the terminal copy keeps every line end, CR LF written as LF.
TEST(HeadlessViewTest, MessagesGetTheirDefaultAnswerAndGoToTheLogAndTheTerminal) {
    TempPrefix prefix;
    HeadlessView view;
    testing::internal::CaptureStderr();
    EXPECT_EQ(view.Ask("Do you wish to terminate?", "Voltaris Monitor", MessageButtons::YesNo, MessageIcon::Exclamation),
              MessageAnswer::No);
    EXPECT_EQ(view.Ask("Done", "Voltaris Monitor", MessageButtons::OK, MessageIcon::None), MessageAnswer::OK);
    view.ShowMessage("Error in Store File\r\n\r\nPeriods per day 30\rline\nend", "Voltaris Monitor", MessageIcon::Critical);
    const std::string err = testing::internal::GetCapturedStderr();
    const std::string program = err.substr(0, err.find("Voltaris Monitor: Do"));  // "name: "
    EXPECT_EQ(err, program + "Voltaris Monitor: Do you wish to terminate? (No)\n" + program +
                       "Voltaris Monitor: Done (OK)\n" + program +
                       "Voltaris Monitor: Error in Store File\n\nPeriods per day 30\nline\nend\n");
    const std::string log = TempPrefix::Read(prefix.ProgramDir() / "voltamon.log");
    EXPECT_NE(log.find(" - Voltaris Monitor: Do you wish to terminate? (No)\r\n"), std::string::npos) << log;
    EXPECT_NE(log.find(" - Voltaris Monitor: Error in Store File | Periods per day 30 | line | end\r\n"),
              std::string::npos) << log;

    view.SetPanelText(StatusPanel::Panel3D4, " Scan in 3 secs");
    EXPECT_EQ(view.PanelText(StatusPanel::Panel3D4), " Scan in 3 secs");
    // Panels never reach the log.
    EXPECT_EQ(TempPrefix::Read(prefix.ProgramDir() / "voltamon.log"), log);
}

TEST(HeadlessViewTest, CloseEndsTheEventLoopOnlyWhenTheRuleAllows) {
    TempPrefix prefix;
    EnsureCoreApplication();
    HeadlessView view;
    CloseRule rule;
    view.SetCommands(rule);

    QTimer guard;  // a view that never ends the loop fails instead of hanging
    QObject::connect(&guard, &QTimer::timeout, [] { QCoreApplication::exit(99); });
    guard.start(5000);
    QTimer::singleShot(0, [&] {
        view.CloseMainWindow();  // refused: the loop runs on
        rule.Allow = true;
        QTimer::singleShot(0, [&] { view.CloseMainWindow(); });
    });
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_EQ(rule.Asked, 2);
    EXPECT_TRUE(view.Closed());

    // Start-up ending the program is no question of the rule, and says so in the exit code.
    HeadlessView ending;
    ending.SetCommands(rule);
    QTimer::singleShot(0, [&] { ending.EndProgram(); });
    EXPECT_EQ(QCoreApplication::exec(), 1);
    EXPECT_EQ(rule.Asked, 2);
}

}  // namespace

TEST(HeadlessViewTest, ScanStepsAndEventsCostNothingUntilSomeoneLooks) {
    HeadlessView view;
    view.ScanStep("Get Data for Tag ", 17);
    EXPECT_EQ(view.PanelText(StatusPanel::Panel3D2), "Get Data for Tag 17");
    view.SetStatusText("Saving");  // the newer text wins
    EXPECT_EQ(view.PanelText(StatusPanel::Panel3D2), "Saving");
    view.ScanStep("Calc Maths for Tag ", 200);
    EXPECT_EQ(view.PanelText(StatusPanel::Panel3D2), "Calc Maths for Tag 200");
    view.SetPanelText(StatusPanel::Panel3D4, " Scan in 5 secs");  // another panel leaves the step alone
    EXPECT_EQ(view.PanelText(StatusPanel::Panel3D2), "Calc Maths for Tag 200");

    // With an application, pending events run at the first request and at most once per clock tick.
    EnsureCoreApplication();
    HeadlessView events;
    int ran = 0;
    QTimer::singleShot(0, [&] { ++ran; });
    EXPECT_TRUE(events.LetEventsIn());
    EXPECT_EQ(ran, 1);
    int lets = 0;
    for (int i = 0; i < 1000; ++i) lets += events.LetEventsIn() ? 1 : 0;
    EXPECT_LT(lets, 1000 / 4 + 1);
    // Asked often enough, events do get in again once the clock has moved, and a step that let
    // them in says so (the scan then reads the time again).
    QTimer::singleShot(0, [&] { ++ran; });
    bool said = false;
    for (int i = 0; i < 200 && ran < 2; ++i) {
        said = events.ScanStep("Get Data for Tag ", 1);
        usleep(1000);
    }
    EXPECT_TRUE(said);
    EXPECT_EQ(ran, 2);
}
