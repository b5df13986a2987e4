// The CSV of each view, byte for byte, on a 96-period file (demand is four times the quantity).
#include <gtest/gtest.h>

#include <fstream>

#include "ReportTestStore.h"
#include "report/figures/ReportCsv.h"

using namespace reporttest;

namespace {

class ReportCsvTest : public ::testing::Test {
protected:
    TempFolder folder;
    fs::path file = folder.Path() / "Site2403.lum";
    fs::path ini = folder.Path() / "VoltarisSetup.ini";
    StoreMonth month;

    void SetUp() override
    {
        ASSERT_TRUE(MakeStoreFile(file, 96, {{"North, main kWh", true, true}, {"Gas m3", true, false}}));
        {
            RecordWriter w(file);
            ASSERT_TRUE(w.Write(2, 1, 1, {1.5f, 0.25f}));
            ASSERT_TRUE(w.Write(2, 2, 0, {2.0f, 0.0f}));  // first period after a start-up
            ASSERT_TRUE(w.Write(2, 3, 1, {0.0f, 0.0f}));  // a measured zero
        }
        std::ofstream(ini) << "[Peaks]\r\n1PeakValue=1.5\r\n1PeakTime=Mar 02, 24. 00:15\r\n";
        ASSERT_EQ(LoadStoreMonth(file.string(), month, 0, 0), "");
    }

    // The not-saved lines of day 2 from period `from` on.
    static std::string NotSavedLines(int from, const std::string& emptyFields)
    {
        std::string out;
        for (int p = from; p <= 96; ++p)
            out += "2024-03-02," + std::to_string(p) + "," + ClockText((p - 1) * 15) + "," + ClockText(p * 15) +
                   ",not saved" + emptyFields + "\n";
        return out;
    }
};

TEST_F(ReportCsvTest, DayProfile)
{
    const std::string expected =
        "date,period,start,end,state,\"North, main kWh quantity (kWh)\",\"North, main kWh demand (kW)\","
        "Gas m3 quantity (m3),Gas m3 demand (m3/h)\n"
        "2024-03-02,1,00:00,00:15,measured,1.5,6,0.25,1\n"
        "2024-03-02,2,00:15,00:30,after start-up,2,8,0,0\n"
        "2024-03-02,3,00:30,00:45,measured,0,0,0,0\n" +
        NotSavedLines(4, ",,,,");
    EXPECT_EQ(ViewCsv(month, ReportView::Day, 2, {1, 2}, {}), expected);
}

TEST_F(ReportCsvTest, MonthTotals)
{
    std::string expected = "date,periods not saved,periods after start-up,\"North, main kWh (kWh)\",Gas m3 (m3)\n";
    for (int d = 1; d <= 31; ++d)
        expected += DateText(2024, 3, d) + (d == 2 ? ",93,1,3.5,0.25\n" : ",96,0,,\n");
    EXPECT_EQ(ViewCsv(month, ReportView::Month, 1, {1, 2}, {}), expected);
}

TEST_F(ReportCsvTest, SiteTotalWithThePeakRank)
{
    const std::string expected = "date,period,start,end,state,site total,site demand,peak rank\n"
                                 "2024-03-02,1,00:00,00:15,measured,1.5,6,1\n"
                                 "2024-03-02,2,00:15,00:30,after start-up,2,8,\n"
                                 "2024-03-02,3,00:30,00:45,measured,0,0,\n" +
                                 NotSavedLines(4, ",,,");
    EXPECT_EQ(ViewCsv(month, ReportView::Site, 2, {}, ReadPeaks(ini.string())), expected);
}

TEST_F(ReportCsvTest, TagTable)
{
    const std::string expected =
        "tag,name,unit,month total,highest period,highest demand,highest period date,highest period end,"
        "periods not saved,periods after start-up\n"
        "1,\"North, main kWh\",kWh,3.5,2,8,2024-03-02,00:30,2973,1\n"
        "2,Gas m3,m3,0.25,0.25,1,2024-03-02,00:15,2973,1\n"
        "3,,,0,0,0,2024-03-02,00:15,2973,1\n";
    EXPECT_EQ(ViewCsv(month, ReportView::Tags, 1, {1, 2, 3}, {}), expected);
}

TEST(ReportCsvText, FiguresAndFields)
{
    EXPECT_EQ(FigureText(1.0 / 3), "0.333");
    EXPECT_EQ(FigureText(2.5), "2.5");
    EXPECT_EQ(FigureText(-0.0001), "0");
    EXPECT_EQ(FigureText(1e6), "1000000");
    EXPECT_EQ(FigureText(-12.0625), "-12.062");  // halves to even in the last place
    EXPECT_EQ(CsvField("a \"b\", c"), "\"a \"\"b\"\", c\"");
    EXPECT_EQ(CsvField("plain"), "plain");
    EXPECT_EQ(ClockText(1440), "24:00");
}

} // namespace
