#include <gtest/gtest.h>

#include <regex>
#include <sstream>

#include <QAction>
#include <QListWidget>

#include "common/TempPrefix.h"
#include "ui/Twips.h"
#include "ui/WindowPlacement.h"
#include "ui/frmLog.h"
#include "UiTestSupport.h"

namespace {

class frmLogTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { UiApp(); }
    std::vector<std::string> FileLines() {
        std::vector<std::string> lines;
        std::istringstream in(TempPrefix::Read(prefix.ProgramDir() / "test_ui_LogForm.txt"));
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        return lines;
    }
    // The list fills the window: 240 twips narrower, 795 lower than the client area.
    void ExpectListFills(const frmLog& log) {
        const QRect list = log.lstLog()->geometry();
        EXPECT_NEAR(PixelsToTwipsX(list.width()), WindowWidthTwips(log) - 240, TwipsPerPixelX());
        EXPECT_NEAR(PixelsToTwipsY(list.height()), InnerHeightTwips(log) - 795, TwipsPerPixelY());
    }
    TempPrefix prefix;
};

TEST_F(frmLogTest, ListKeepsTheNewestThousandLinesTheFileKeepsAllClearAndExitEmptyTheList) {
    frmLog log;
    EXPECT_EQ(log.windowTitle(), "Log");
    EXPECT_EQ(log.mnuFClear()->text(), "&Clear");
    EXPECT_EQ(log.mnuFExit()->text(), "E&xit");
    EXPECT_EQ(frmLog::LogFile(), prefix.ProgramDir().string() + "\\test_ui_LogForm.txt");
    for (int i = 1; i <= 1001; ++i) log.AddLog("line " + std::to_string(i));
    EXPECT_FALSE(log.isVisible());

    QListWidget* list = log.lstLog();
    ASSERT_EQ(list->count(), 1000);
    const std::regex general(R"(\d\d/\d\d/\d{4} \d\d:\d\d:\d\d\. line 1001)");
    EXPECT_TRUE(std::regex_match(list->item(0)->text().toStdString(), general)) << list->item(0)->text().toStdString();
    EXPECT_TRUE(list->item(999)->text().endsWith(". line 2"));
    std::vector<std::string> lines = FileLines();
    ASSERT_EQ(lines.size(), 1001u);
    EXPECT_TRUE(std::regex_match(lines.front(), std::regex(R"(\d\d/\d\d/\d\d \d\d:\d\d:\d\d - line 1\r)"))) << lines[0];
    EXPECT_EQ(lines.back().substr(17), " - line 1001\r");

    log.mnuFClear()->trigger();
    EXPECT_EQ(list->count(), 0);
    log.show();
    log.mnuFExit()->trigger();
    EXPECT_FALSE(log.isVisible());
    EXPECT_FALSE(log.Loaded());
    log.AddLog("after exit");
    EXPECT_EQ(list->count(), 1);
    EXPECT_EQ(FileLines().size(), 1002u);
}

TEST_F(frmLogTest, ListFillsTheWindowFromItsFirstShowDownToTheMinimumSize) {
    // Loaded hidden by the trace, shown later: the list must fill the window at once.
    frmLog log;
    log.AddLog("loaded while hidden");
    log.show();
    QCoreApplication::processEvents();
    ExpectListFills(log);

    ResizeWindowTwips(log, 3000, 2000);
    QCoreApplication::processEvents();
    EXPECT_NEAR(WindowWidthTwips(log), 4800, TwipsPerPixelX());
    EXPECT_NEAR(WindowHeightTwips(log), 3435, TwipsPerPixelY());

    ResizeWindowTwips(log, 7000, 6000);
    QCoreApplication::processEvents();
    ExpectListFills(log);
}

} // namespace
