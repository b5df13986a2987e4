#include <gtest/gtest.h>

#include <filesystem>

#include <QAbstractButton>
#include <QAction>
#include <QEvent>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTableWidget>

#include "common/TempPrefix.h"
#include "support/Log.h"
#include "ui/Pleasewait.h"
#include "ui/Twips.h"
#include "ui/WindowPlacement.h"
#include "ui/frmLog.h"
#include "ui/frmMain.h"
#include "UiTestSupport.h"

namespace {

using Texts = std::vector<std::string>;

// Captions of the visible items, "-" for a separator.
Texts Shown(const QList<QAction*>& actions) {
    Texts out;
    for (const QAction* a : actions)
        if (a->isVisible()) out.push_back(a->isSeparator() ? "-" : a->text().toStdString());
    return out;
}

class frmMainTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { UiApp(); }
    void SetUp() override {
        window = CreateMainWindow(commands);
        window->show();
        QCoreApplication::processEvents();
    }
    void TearDown() override { SetDebugMode(false); }
    QAction* Item(const char* name) { return window->findChild<QAction*>(name); }
    QLabel* Panel(StatusPanel p) { return window->Panel(p); }
    QColor TextColour(StatusPanel p) { return Panel(p)->palette().color(QPalette::WindowText); }

    TempPrefix prefix;
    FakeCommands commands;
    std::unique_ptr<frmMain> window;
};

TEST_F(frmMainTest, GridHasTheHeadingsTagRowsAndKeepsSetupTexts) {
    QTableWidget* grid = window->Grid1();
    // The setup load names all 200 tag slots before the grid is cut to TagCount rows.
    window->SetGridCell(150, 1, "Boiler Gas");
    window->SetupGrid(196);
    ASSERT_EQ(grid->columnCount(), 6);
    const Texts headings{"No.", "Name", "Current Data", "Integrated Data", "Tag Type", "Rate"};
    for (int c = 0; c < 6; ++c) EXPECT_EQ(grid->horizontalHeaderItem(c)->text().toStdString(), headings[c]);
    EXPECT_EQ(grid->horizontalHeader()->height(), TwipsToPixelsY(240));
    EXPECT_EQ(grid->item(195, 0)->text(), "196");
    EXPECT_EQ(grid->item(149, 1)->text(), "Boiler Gas");

    window->SetupGrid(7);
    window->SetGridCell(8, 1, "beyond TagCount");
    window->SetGridCell(2, 6, "no such column");
    EXPECT_EQ(grid->rowCount(), 7);
    EXPECT_EQ(grid->columnCount(), 6);

    // A pulse tag's row turns red after a rejected rate, black again after an accepted one.
    window->SetGridCell(7, 2, "12.50");
    window->SetGridRowColour(7, 1, 5, ColourRed);
    for (int c = 1; c <= 5; ++c) EXPECT_EQ(grid->item(6, c)->foreground().color(), QColor(255, 0, 0)) << c;
    window->SetGridRowColour(7, 1, 5, ColourBlack);
    EXPECT_EQ(grid->item(6, 2)->foreground().color(), QColor(0, 0, 0));
    EXPECT_EQ(grid->item(6, 2)->text(), "12.50");
}

TEST_F(frmMainTest, StartsAtEightThousandByFourThousandTwipsCentredAndFollowsResizes) {
    EXPECT_NEAR(WindowWidthTwips(*window), 8000, TwipsPerPixelX());
    EXPECT_NEAR(WindowHeightTwips(*window), 4000, TwipsPerPixelY());
    ExpectPlaced(*window, 2);

    window->LayoutFor(8000, 4000);
    EXPECT_EQ(window->Grid1()->geometry(), ToPixels({0, 0, 7880, 2675}).Value);
    EXPECT_EQ(Panel(StatusPanel::Panel3D4)->geometry(), ToPixels({0, 2675, 1800, 645}).Value);
    EXPECT_EQ(Panel(StatusPanel::Panel3D2)->geometry(), ToPixels({1800, 2675, 4280, 645}).Value);
    EXPECT_EQ(Panel(StatusPanel::Panel3D1)->geometry(), ToPixels({6080, 2675, 1800, 645}).Value);
    EXPECT_EQ(window->Grid1()->columnWidth(0), TwipsToPixelsX(480));
    EXPECT_EQ(window->Grid1()->columnWidth(3), TwipsToPixelsX(1394));  // 14.525 units of 96 twips

    // A real resize to 3000 x 5000 twips keeps the widths, moves the panels down and clears the status.
    window->SetStatusText("Scanning Now");
    ResizeWindowTwips(*window, 3000, 5000);
    QCoreApplication::processEvents();
    const MainLayout& narrow = window->Layout();
    EXPECT_NEAR(narrow.Grid.Height, 5000 - 1325, TwipsPerPixelY());
    EXPECT_EQ(narrow.Panel3D2.Top, narrow.Grid.Height);
    EXPECT_EQ(Panel(StatusPanel::Panel3D2)->text(), "");

    // A size no widget can take is reported and the layout kept.
    window->LayoutFor(2000000000, 4000);
    EXPECT_EQ(window->Layout(), narrow);
    const std::string log = TempPrefix::Read(prefix.ProgramDir() / "voltamon.log");
    EXPECT_NE(log.find(" - frmMain.Resize, Error 380/ Invalid property value\r\n"), std::string::npos) << log;
}

TEST_F(frmMainTest, PanelsShowTwoLineTextsInTheirColoursAndTheWatchdog) {
    for (StatusPanel p : {StatusPanel::Panel3D4, StatusPanel::Panel3D2, StatusPanel::Panel3D1})
        EXPECT_EQ(TextColour(p), QColor(255, 0, 0));
    window->SetPanelText(StatusPanel::Panel3D1, "Tue, Mar 5 2024\r\n14:07:09");
    EXPECT_EQ(Panel(StatusPanel::Panel3D1)->text(), "Tue, Mar 5 2024\n14:07:09");
    window->SetPanelColour(StatusPanel::Panel3D2, ColourDarkBlue);
    EXPECT_EQ(TextColour(StatusPanel::Panel3D2), QColor(0, 0, 128));
    EXPECT_EQ(TextColour(StatusPanel::Panel3D4), QColor(255, 0, 0));

    QLabel* dog = window->lblWatchDog();
    EXPECT_EQ(dog->text(), "WATCH DOG");
    EXPECT_EQ(dog->parentWidget(), Panel(StatusPanel::Panel3D4));
    EXPECT_FALSE(dog->isEnabled());
    window->SetWatchdogLabel(true);
    EXPECT_TRUE(dog->isEnabled() && dog->autoFillBackground());
    window->SetWatchdogLabel(false);
    EXPECT_FALSE(dog->isEnabled());
}

// A scan sets its status texts without letting events run: each must be painted at once.
TEST_F(frmMainTest, StatusTextsArePaintedBeforeTheScanGoesOn) {
    struct PaintCounter : QObject {
        int paints = 0;
        bool eventFilter(QObject*, QEvent* e) override {
            if (e->type() == QEvent::Paint) ++paints;
            return false;
        }
    } counter;
    QLabel* status = Panel(StatusPanel::Panel3D2);
    status->installEventFilter(&counter);
    for (const char* text : {"Checking Setup File", "Calling Input_General", "Display if Data is OK"}) {
        const int before = counter.paints;
        window->SetPanelText(StatusPanel::Panel3D2, text);
        EXPECT_GT(counter.paints, before) << text;  // no processEvents in between
    }
    status->removeEventFilter(&counter);
}

TEST_F(frmMainTest, MenusShowOnlyTheOfferedItemsAndReachTheMonitor) {
    EXPECT_EQ(Shown(window->menuBar()->actions()), (Texts{"&Options", "Help"}));
    EXPECT_EQ(Shown(window->opts()->actions()),
              (Texts{"Start &Setup...", "Start &vtreport...", "Show Socket &Log", "-", "&Exit"}));
    EXPECT_EQ(Shown(window->mnuHelp()->actions()), (Texts{"&About..."}));
    EXPECT_EQ(Item("ldstup")->text(), "&Reload setup");
    EXPECT_EQ(Item("setcontrolit")->text(), "Set &Control...");
    EXPECT_EQ(Item("mnuHelpHelp")->text(), "Help");

    // View Log follows the scan-logging setting.
    window->SetViewLogAvailable(true);
    EXPECT_EQ(Shown(window->opts()->actions()),
              (Texts{"Start &Setup...", "Start &vtreport...", "Show Socket &Log", "-", "View Log", "&Exit"}));
    window->SetViewLogAvailable(false);
    EXPECT_FALSE(Item("mnuO_ViewLog")->isVisible());

    window->SetMenuVisible(MenuItem::mnuLog, true);
    EXPECT_EQ(Shown(window->menuBar()->actions()), (Texts{"&Options", "Help", "Log"}));
    EXPECT_EQ(Shown(window->mnuLog()->actions()), (Texts{"Hide", "-", "Log Windows Socket", "-", "Exit"}));

    for (const char* name : {"ldstup", "loadvoltarisset", "loadvoltaris", "mnuO_ViewLog"}) Item(name)->trigger();
    EXPECT_EQ(commands.Calls, (Texts{"ReloadSetup", "StartSetupProgram", "StartReportProgram", "ViewLog"}));
}

TEST_F(frmMainTest, SocketLogIsShownOnTopAndHiddenAgain) {
    frmLog* log = window->LogWindow();
    EXPECT_FALSE(window->Tracing());
    Item("mnuLWindowsSocket")->trigger();
    EXPECT_TRUE(window->Tracing());
    EXPECT_TRUE(window->MenuChecked(MenuItem::mnuLWindowsSocket));
    // The trace fills the window without showing it.
    window->AddLog("Connect 127.0.0.1");
    EXPECT_FALSE(log->isVisible());

    Item("mnuO_ShowLog")->trigger();
    EXPECT_TRUE(log->isVisible());
    EXPECT_TRUE(log->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(window->mnuLog()->menuAction()->isVisible());
    EXPECT_FALSE(window->Tracing());
    EXPECT_EQ(log->lstLog()->count(), 1);

    Item("mnuLHide")->trigger();
    EXPECT_FALSE(log->isVisible());
    EXPECT_FALSE(window->mnuLog()->menuAction()->isVisible());
    // Closed by start-up or Hide: the next line starts an empty list.
    window->AddLog("Close");
    EXPECT_EQ(log->lstLog()->count(), 1);
}

TEST_F(frmMainTest, CloseAsksTheMonitorAndStaysOpenWhenRefused) {
    commands.AllowClose = false;
    Item("exitit")->trigger();
    window->CloseMainWindow();
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(commands.Calls, (Texts{"QueryClose", "QueryClose"}));
    // Ending the program (a second instance) does not ask.
    window->EndProgram();
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(commands.Calls.size(), 2u);
}

TEST_F(frmMainTest, LogExitRequestsTheExitBeforeClosing) {
    // The monitor agrees to close once the exit is requested.
    struct ExitAware : FakeCommands {
        bool QueryClose() override {
            Calls.push_back("QueryClose");
            return !Calls.empty() && Calls.front() == "RequestExit";
        }
    } monitor;
    window->SetCommands(monitor);
    Item("mnuO_ShowLog")->trigger();
    Item("mnuLExit")->trigger();
    EXPECT_EQ(monitor.Calls, (Texts{"RequestExit", "QueryClose"}));
    EXPECT_FALSE(window->isVisible());
    EXPECT_FALSE(window->LogWindow()->isVisible());
}

TEST_F(frmMainTest, PleasewaitIsShownAThirdDownWithTheLoadProgressUntilStageTwoOrOk) {
    Pleasewait* wait = window->PleasewaitWindow();
    EXPECT_EQ(wait->findChild<QLabel*>()->text(), "Please wait while loading");
    window->ShowWait("Get Setup File Data");
    ASSERT_TRUE(wait->isVisible());
    EXPECT_EQ(wait->windowTitle(), "Get Setup File Data");
    ExpectPlaced(*wait, 3);
    window->ShowWaitMessage("Getting INI Data");
    EXPECT_EQ(wait->lblMessage()->text(), "Getting INI Data");
    window->SetWaitProgress("45%");
    EXPECT_EQ(wait->Gauge1()->value(), 45);
    EXPECT_EQ(wait->Gauge1()->text(), "45%");
    EXPECT_EQ(wait->lblMessage()->text(), "45%");
    wait->cmdOK()->click();
    EXPECT_FALSE(wait->isVisible());

    // Its 500 ms timer closes it once stage 2 has begun.
    window->ShowWait("Store File Data");
    Pump(700);
    EXPECT_TRUE(wait->isVisible());
    window->Stage2Begun();
    Pump(700);
    EXPECT_FALSE(wait->isVisible());
    EXPECT_FALSE(wait->Timer1()->isActive());
    window->ShowWait("Store File Data");
    window->CloseWait();
    EXPECT_FALSE(wait->isVisible());
}

TEST_F(frmMainTest, MessageBoxesAnswerAndAnUnwritableLogUnderDebugAsksAndYesCloses) {
    for (auto [button, answer] : {std::pair{QMessageBox::No, MessageAnswer::No}, {QMessageBox::Yes, MessageAnswer::Yes}}) {
        WhenModalAppears([b = button](QWidget* box) { static_cast<QMessageBox*>(box)->button(b)->click(); });
        EXPECT_EQ(window->Ask("Go?", "Voltaris Monitor", MessageButtons::YesNo, MessageIcon::Question), answer);
    }
    QString title, text;
    // A folder in the main log's place: every line fails.
    std::filesystem::create_directories(prefix.ProgramDir() / "voltamon.log");
    AddToLog("lost quietly");
    EXPECT_TRUE(commands.Calls.empty());

    SetDebugMode(true);
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    WhenModalAppears([&](QWidget* w) {
        auto* box = static_cast<QMessageBox*>(w);
        title = box->windowTitle(), text = box->text(), icon = box->icon();
        box->button(QMessageBox::Yes)->click();
    });
    AddToLog("cannot be written");
    EXPECT_EQ(title, "Voltaris Monitor");
    EXPECT_EQ(icon, QMessageBox::Warning);
    EXPECT_TRUE(text.startsWith("AddToLog, Error 75/ ")) << text.toStdString();
    EXPECT_TRUE(text.endsWith("\n\nDo you wish to terminate the Voltaris Monitor?")) << text.toStdString();
    EXPECT_EQ(commands.Calls, (Texts{"QueryClose"}));
    EXPECT_FALSE(window->isVisible());
}

} // namespace
