// The report window driven as a user drives it: keys move days and months across files, the
// tabs change the view, and a period saved by the monitor shows without asking.
#include <gtest/gtest.h>

#include <QApplication>
#include <QListWidget>
#include <QTabWidget>
#include <QTest>

#include "ReportTestStore.h"
#include "report/views/ReportWindow.h"

using namespace reporttest;

namespace {

QApplication& App()
{
    static int argc = 1;
    static char name[] = "test_report";
    static char* argv[] = {name, nullptr};
    static QApplication* app = (setenv("QT_QPA_PLATFORM", "offscreen", 1), new QApplication(argc, argv));
    return *app;
}

class ReportWindowTest : public ::testing::Test {
protected:
    TempFolder folder;
    fs::path february = folder.Path() / "Mill2402.lum";
    fs::path march = folder.Path() / "Mill2403.lum";
    fs::path settings = folder.Path() / "VoltarisSetup.ini";  // no peak table until a test makes one
    std::unique_ptr<ReportWindow> window;

    void SetUp() override
    {
        App();
        std::vector<TestTag> tags;
        for (int t = 1; t <= 8; ++t)
            tags.push_back({"Meter " + std::to_string(t) + " kWh", t != 3, true});
        ASSERT_TRUE(MakeStoreFile(february, 24, tags));
        ASSERT_TRUE(MakeStoreFile(march, 24, tags));
        RecordWriter feb(february);
        ASSERT_TRUE(feb.Write(29, 24, 1, {29.5f}));
        RecordWriter mar(march);
        ASSERT_TRUE(mar.Write(1, 1, 1, {1.25f}));
        ASSERT_TRUE(mar.Write(2, 1, 1, {2.25f}));
        window = std::make_unique<ReportWindow>(settings.string());
        ASSERT_EQ(window->OpenStore(march.string(), 1, {}), "");
        window->show();
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    }

    // The day profile's CSV line of period p for the shown day.
    std::string Line(int period) const
    {
        const std::string csv = window->ShownCsv();
        std::size_t at = 0;
        for (int i = 0; i < period; ++i)
            at = csv.find('\n', at) + 1;
        return csv.substr(at, csv.find('\n', at) - at);
    }
};

TEST_F(ReportWindowTest, ShowsTheFirstSixOnlineTagsAndTheChosenView)
{
    EXPECT_EQ(window->ShownTags(), (std::vector<int>{1, 2, 4, 5, 6, 7}));  // tag 3 is off line
    EXPECT_EQ(Line(1).substr(0, 41), "2024-03-01,1,00:00,01:00,measured,1.25,1.");
    auto* tabs = window->findChild<QTabWidget*>();
    ASSERT_NE(tabs, nullptr);
    tabs->setCurrentIndex(3);
    EXPECT_EQ(window->View(), ReportView::Tags);
    EXPECT_EQ(window->ShownCsv().substr(0, 4), "tag,");
    window->ShowView(ReportView::Month);
    EXPECT_EQ(tabs->currentIndex(), 1);
    EXPECT_NE(window->StatusText().indexOf("March 2024"), -1);
}

TEST_F(ReportWindowTest, UntickingEveryTagLeavesEmptyChartsAndTheWholeTagTable)
{
    auto* list = window->findChild<QListWidget*>();
    ASSERT_NE(list, nullptr);
    for (int i = 0; i < list->count(); ++i)
        list->item(i)->setCheckState(Qt::Unchecked);
    EXPECT_TRUE(window->ShownTags().empty());
    for (ReportView view : {ReportView::Day, ReportView::Month, ReportView::Site}) {
        window->ShowView(view);
        // The day's and the month's lines without a tag column; the site total keeps its own.
        const std::string csv = window->ShownCsv();
        const std::string header = csv.substr(0, csv.find('\n'));
        EXPECT_EQ(header, view == ReportView::Day     ? "date,period,start,end,state"
                          : view == ReportView::Month ? "date,periods not saved,periods after start-up"
                                                      : "date,period,start,end,state,site total,site demand,peak rank");
    }
    window->ShowView(ReportView::Tags);
    EXPECT_EQ(window->ViewTags().size(), 7u);  // every online tag, ticked or not
    // A reload and another day keep nothing ticked.
    window->Reload();
    QTest::keyClick(window.get(), Qt::Key_Left);
    EXPECT_TRUE(window->ShownTags().empty());
}

TEST_F(ReportWindowTest, OneKeyMovesADayOrAMonthAcrossFiles)
{
    QTest::keyClick(window.get(), Qt::Key_Right);
    EXPECT_EQ(window->Day(), 2);
    EXPECT_EQ(Line(1).substr(0, 38), "2024-03-02,1,00:00,01:00,measured,2.25");
    QTest::keyClick(window.get(), Qt::Key_Left);
    QTest::keyClick(window.get(), Qt::Key_Left);  // back past the 1st: the February file, its last day
    EXPECT_EQ(window->Month().Month, 2);
    EXPECT_EQ(window->Day(), 29);
    EXPECT_EQ(Line(24).substr(0, 38), "2024-02-29,24,23:00,24:00,measured,29.");
    QTest::keyClick(window.get(), Qt::Key_PageDown);
    EXPECT_EQ(window->Month().Month, 3);
    EXPECT_EQ(window->Day(), 29);
    QTest::keyClick(window.get(), Qt::Key_PageDown);  // there is no April file
    EXPECT_EQ(window->Month().Month, 3);
    EXPECT_NE(window->StatusText().indexOf("No store file for the month after March 2024"), -1);
    QTest::keyClick(window.get(), Qt::Key_PageUp);
    EXPECT_EQ(window->Month().Month, 2);
    // The tags chosen stay chosen from file to file.
    EXPECT_EQ(window->ShownTags(), (std::vector<int>{1, 2, 4, 5, 6, 7}));
}

TEST_F(ReportWindowTest, APeriodSavedByTheMonitorShowsByItself)
{
    EXPECT_EQ(Line(2).substr(0, 35), "2024-03-01,2,01:00,02:00,not saved,");
    {
        RecordWriter w(march);
        ASSERT_TRUE(w.Write(1, 2, 1, {4.5f, 1.0f}));
    }
    ASSERT_FALSE(UpdatePeaks(5.5f, "Mar 01, 24. 02:00", settings.string()).Failed());
    bool shown = false;
    for (int i = 0; i < 40 && !shown; ++i) {
        QTest::qWait(50);
        shown = Line(2).rfind("2024-03-01,2,01:00,02:00,measured,4.5,4.5,1,1", 0) == 0;
    }
    EXPECT_TRUE(shown) << Line(2);
    EXPECT_EQ(window->Day(), 1);
    // The peak the monitor entered with it is read with the file.
    window->ShowView(ReportView::Site);
    EXPECT_EQ(Line(2), "2024-03-01,2,01:00,02:00,measured,5.5,5.5,1");
}

TEST_F(ReportWindowTest, AFileThatIsNotAStoreFileLeavesTheShownOne)
{
    const fs::path bad = folder.Path() / "Bad2403.lum";
    std::ofstream(bad) << "not a store file";
    EXPECT_NE(window->OpenStore(bad.string(), 1, {}).find("is not a store file"), std::string::npos);
    EXPECT_EQ(window->Month().Path, march.string());
}

} // namespace
