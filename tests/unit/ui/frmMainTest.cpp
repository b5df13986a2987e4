#include <gtest/gtest.h>

#include <QAction>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QTableWidget>

#include "common/TempPrefix.h"
#include "support/Log.h"
#include "ui/Twips.h"
#include "ui/WindowPlacement.h"
#include "ui/frmLog.h"
#include "ui/frmMain.h"
#include "UiTestSupport.h"

namespace {

// Captions of the items a menu shows, "-" for a separator.
std::vector<std::string> Shown(const QMenu* menu) {
    std::vector<std::string> out;
    for (const QAction* a : menu->actions())
        if (a->isVisible()) out.push_back(a->isSeparator() ? "-" : a->text().toStdString());
    return out;
}

std::vector<std::string> ShownMenus(QMainWindow& w) {
    std::vector<std::string> out;
    for (const QAction* a : w.menuBar()->actions())
        if (a->isVisible()) out.push_back(a->text().toStdString());
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
    QAction* Item(const char* name) { return window->findChild<QAction*>(name); }
    QString Text(int row, int column) {
        const QTableWidgetItem* cell = window->Grid1()->item(row - 1, column);
        return cell ? cell->text() : QString();
    }

    TempPrefix prefix;
    FakeCommands commands;
    std::unique_ptr<frmMain> window;
};

TEST_F(frmMainTest, GridHasTheHeadingsTagRowsAndKeepsSetupTexts) {
    // The setup load names all 200 tag slots before the grid is cut to TagCount rows.
    window->SetGridCell(150, 1, "Boiler Gas");
    window->SetGridCell(3, 4, "Pulse - Scada Tag");
    window->SetupGrid(196);

    QTableWidget* grid = window->Grid1();
    ASSERT_EQ(grid->columnCount(), 6);
    const char* headings[] = {"No.", "Name", "Current Data", "Integrated Data", "Tag Type", "Rate"};
    for (int c = 0; c < 6; ++c) EXPECT_EQ(grid->horizontalHeaderItem(c)->text().toStdString(), headings[c]);
    EXPECT_EQ(grid->rowCount(), 196);
    EXPECT_EQ(grid->item(0, 0)->text(), "1");
    EXPECT_EQ(grid->item(195, 0)->text(), "196");
    EXPECT_EQ(Text(150, 1), "Boiler Gas");
    EXPECT_EQ(Text(3, 4), "Pulse - Scada Tag");

    window->SetupGrid(7);
    EXPECT_EQ(grid->rowCount(), 7);
    window->SetGridCell(8, 1, "beyond TagCount");
    window->SetGridCell(2, 6, "no such column");
    EXPECT_EQ(grid->rowCount(), 7);
    EXPECT_EQ(grid->columnCount(), 6);

    window->SetGridCell(7, 2, "12.50");
    window->SetGridRowColour(7, 1, 5, ColourRed);
    for (int c = 1; c <= 5; ++c) EXPECT_EQ(grid->item(6, c)->foreground().color(), QColor(255, 0, 0)) << c;
    window->SetGridRowColour(7, 1, 5, ColourBlack);
    EXPECT_EQ(grid->item(6, 2)->foreground().color(), QColor(0, 0, 0));
    EXPECT_EQ(Text(7, 2), "12.50");
    EXPECT_EQ(grid->horizontalHeader()->height(), TwipsToPixelsY(240));
}

TEST_F(frmMainTest, WidgetsFollowTheLayoutAtTheScreensResolution) {
    window->LayoutFor(8000, 4000);
    const MainLayout& l = window->Layout();
    EXPECT_EQ(l.Grid, (TwipsRect{0, 0, 7880, 2675}));
    EXPECT_EQ(window->Grid1()->geometry(), ToPixels(l.Grid).Value);
    EXPECT_EQ(window->Panel(StatusPanel::Panel3D4)->geometry(), ToPixels({0, 2675, 1800, 645}).Value);
    EXPECT_EQ(window->Panel(StatusPanel::Panel3D2)->geometry(), ToPixels({1800, 2675, 4280, 645}).Value);
    EXPECT_EQ(window->Panel(StatusPanel::Panel3D1)->geometry(), ToPixels({6080, 2675, 1800, 645}).Value);
    EXPECT_EQ(window->Grid1()->columnWidth(0), TwipsToPixelsX(480));
    EXPECT_EQ(window->Grid1()->columnWidth(3), TwipsToPixelsX(static_cast<int>(l.DataColumnUnits * 96)));

    // A real resize to 3000 x 5000 twips keeps the widths and moves the panels down.
    window->SetPanelText(StatusPanel::Panel3D2, "Scanning Now");
    ResizeWindowTwips(*window, 3000, 5000);
    QCoreApplication::processEvents();
    const MainLayout& narrow = window->Layout();
    EXPECT_EQ(narrow.Grid.Width, 7880);
    EXPECT_EQ(narrow.Panel3D1.Left, 6080);
    EXPECT_NEAR(narrow.Grid.Height, 5000 - 1325, TwipsPerPixelY());
    EXPECT_EQ(narrow.Panel3D2.Top, narrow.Grid.Height);
    // Every resize clears the status line.
    EXPECT_EQ(window->Panel(StatusPanel::Panel3D2)->text(), "");
}

TEST_F(frmMainTest, StartsAtEightThousandByFourThousandTwipsCentred) {
    EXPECT_NEAR(WindowWidthTwips(*window), 8000, TwipsPerPixelX());
    EXPECT_NEAR(WindowHeightTwips(*window), 4000, TwipsPerPixelY());
    const int left = PixelsToTwipsX(window->frameGeometry().left());
    const int top = PixelsToTwipsY(window->frameGeometry().top());
    EXPECT_NEAR(left, (ScreenWidthTwips() - WindowWidthTwips(*window)) / 2, TwipsPerPixelX());
    EXPECT_NEAR(top, (ScreenHeightTwips() - WindowHeightTwips(*window)) / 2, TwipsPerPixelY());
}

TEST_F(frmMainTest, LayoutThatCannotBeAppliedIsReportedAndKept) {
    const MainLayout before = window->Layout();
    window->LayoutFor(2000000000, 4000);
    EXPECT_EQ(window->Layout(), before);
    const std::string log = TempPrefix::Read(prefix.ProgramDir() / "voltamon.log");
    EXPECT_NE(log.find(" - frmMain.Resize, Error 380/ Invalid property value\r\n"), std::string::npos) << log;
}

TEST_F(frmMainTest, PanelsShowTwoLineTextsInTheirColours) {
    EXPECT_EQ(window->Panel(StatusPanel::Panel3D1)->palette().color(QPalette::WindowText), QColor(255, 0, 0));
    window->SetPanelText(StatusPanel::Panel3D1, "Tue, Mar 5 2024\r\n14:07:09");
    window->SetStatusText("Voltaris Monitor\r\nc:\\telvane\\job1\\data\\voltaris\\site2403.lum");
    window->SetPanelText(StatusPanel::Panel3D4, " Scan in 12 secs");
    EXPECT_EQ(window->Panel(StatusPanel::Panel3D1)->text(), "Tue, Mar 5 2024\n14:07:09");
    EXPECT_EQ(window->Panel(StatusPanel::Panel3D2)->text(),
              "Voltaris Monitor\nc:\\telvane\\job1\\data\\voltaris\\site2403.lum");
    EXPECT_EQ(window->Panel(StatusPanel::Panel3D4)->text(), " Scan in 12 secs");

    window->SetPanelColour(StatusPanel::Panel3D2, ColourDarkBlue);
    EXPECT_EQ(window->Panel(StatusPanel::Panel3D2)->palette().color(QPalette::WindowText), QColor(0, 0, 128));
    EXPECT_EQ(window->Panel(StatusPanel::Panel3D4)->palette().color(QPalette::WindowText), QColor(255, 0, 0));

    QLabel* dog = window->lblWatchDog();
    EXPECT_EQ(dog->text(), "WATCH DOG");
    EXPECT_EQ(dog->parentWidget(), window->Panel(StatusPanel::Panel3D4));
    EXPECT_FALSE(dog->isEnabled());
    window->SetWatchdogLabel(true);
    EXPECT_TRUE(dog->isEnabled());
    EXPECT_TRUE(dog->autoFillBackground());
    window->SetWatchdogLabel(false);
    EXPECT_FALSE(dog->isEnabled());
}

TEST_F(frmMainTest, MenusShowOnlyTheOfferedItems) {
    EXPECT_EQ(ShownMenus(*window), (std::vector<std::string>{"&Options", "Help"}));
    EXPECT_EQ(Shown(window->opts()),
              (std::vector<std::string>{"Start &Setup...", "Start &vtreport...", "Show Socket &Log", "-", "&Exit"}));
    EXPECT_EQ(Shown(window->mnuHelp()), (std::vector<std::string>{"&About..."}));
    EXPECT_EQ(Item("ldstup")->text(), "&Reload setup");
    EXPECT_EQ(Item("setcontrolit")->text(), "Set &Control...");

    window->SetViewLogAvailable(true);
    EXPECT_EQ(Shown(window->opts()), (std::vector<std::string>{"Start &Setup...", "Start &vtreport...",
                                                                "Show Socket &Log", "-", "View Log", "&Exit"}));
    window->SetViewLogAvailable(false);
    EXPECT_FALSE(Item("mnuO_ViewLog")->isVisible());
    window->SetMenuVisible(MenuItem::mnuO_ViewLog, true);
    EXPECT_TRUE(Item("mnuO_ViewLog")->isVisible());

    window->SetMenuVisible(MenuItem::mnuLog, true);
    EXPECT_EQ(ShownMenus(*window), (std::vector<std::string>{"&Options", "Help", "Log"}));
    EXPECT_EQ(Shown(window->mnuLog()),
              (std::vector<std::string>{"Hide", "-", "Log Windows Socket", "-", "Exit"}));
}

TEST_F(frmMainTest, MenuCommandsReachTheMonitor) {
    Item("ldstup")->trigger();
    Item("loadvoltarisset")->trigger();
    Item("loadvoltaris")->trigger();
    Item("mnuO_ViewLog")->trigger();
    EXPECT_EQ(commands.Calls,
              (std::vector<std::string>{"ReloadSetup", "StartSetupProgram", "StartReportProgram", "ViewLog"}));
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
    EXPECT_EQ(log->lstLog()->count(), 1);

    Item("mnuO_ShowLog")->trigger();
    EXPECT_TRUE(log->isVisible());
    EXPECT_TRUE(log->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(window->mnuLog()->menuAction()->isVisible());
    EXPECT_FALSE(window->Tracing());
    EXPECT_EQ(log->lstLog()->count(), 1);

    Item("mnuLWindowsSocket")->trigger();
    EXPECT_TRUE(window->Tracing());
    Item("mnuLHide")->trigger();
    EXPECT_FALSE(log->isVisible());
    EXPECT_FALSE(log->Loaded());
    EXPECT_FALSE(window->mnuLog()->menuAction()->isVisible());

    // Closed by start-up or Hide: the next line starts an empty list.
    window->AddLog("Close");
    EXPECT_EQ(log->lstLog()->count(), 1);
}

TEST_F(frmMainTest, CloseAsksTheMonitorAndStaysOpenWhenRefused) {
    commands.AllowClose = false;
    Item("exitit")->trigger();
    EXPECT_TRUE(window->isVisible());
    window->CloseMainWindow();
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(commands.Calls, (std::vector<std::string>{"QueryClose", "QueryClose"}));

    commands.AllowClose = true;
    window->CloseMainWindow();
    EXPECT_FALSE(window->isVisible());
}

TEST_F(frmMainTest, LogExitRequestsTheExitBeforeClosing) {
    // The monitor answers true once the exit is requested.
    commands.AllowClose = false;
    struct ExitAware : FakeCommands {
        bool QueryClose() override {
            Calls.push_back("QueryClose");
            return exitRequested;
        }
        void RequestExit() override {
            Calls.push_back("RequestExit");
            exitRequested = true;
        }
        bool exitRequested = false;
    } monitor;
    window->SetCommands(monitor);
    window->SetMenuVisible(MenuItem::mnuLog, true);
    window->AddLog("line");
    Item("mnuO_ShowLog")->trigger();
    Item("mnuLExit")->trigger();
    EXPECT_EQ(monitor.Calls, (std::vector<std::string>{"RequestExit", "QueryClose"}));
    EXPECT_FALSE(window->isVisible());
    EXPECT_FALSE(window->LogWindow()->isVisible());
}

TEST_F(frmMainTest, EndProgramClosesWithoutAsking) {
    commands.AllowClose = false;
    window->EndProgram();
    EXPECT_FALSE(window->isVisible());
    EXPECT_TRUE(commands.Calls.empty());
}

} // namespace
