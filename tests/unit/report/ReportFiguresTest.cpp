// The figures of each view against sums the test makes itself from the values it wrote.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <map>

#include "ReportTestStore.h"
#include "report/figures/ReportCsv.h"
#include "report/figures/ReportFigures.h"

using namespace reporttest;

namespace {

// Four tags at 48 periods a day, March 2024: two counted in the site total, one not, one off line.
class ReportFiguresTest : public ::testing::Test {
protected:
    static constexpr int Periods = 48;
    TempFolder folder;
    fs::path file = folder.Path() / "Site2403.lum";
    std::map<std::tuple<int, int, int>, float> written;  // (day, period, tag) -> value
    std::map<std::pair<int, int>, int16_t> flags;

    void SetUp() override
    {
        ASSERT_TRUE(MakeStoreFile(file, Periods,
                                  {{"Main kWh", true, true}, {"Boiler (kWh)", true, true}, {"Gas m3", true, false},
                                   {"Spare", false, true}}));
    }

    void Write(RecordWriter& w, int day, int period, int16_t flag, std::vector<float> values)
    {
        ASSERT_TRUE(w.Write(day, period, flag, values));
        flags[{day, period}] = flag;
        for (std::size_t t = 0; t < values.size(); ++t)
            written[{day, period, static_cast<int>(t + 1)}] = values[t];
    }

    // Day 5 fully saved but for period 11 (never saved); period 10 is the first after a start-up
    // and period 12 a measured zero. Day 6 has its first 20 periods; day 31 one odd period.
    void FillMonth()
    {
        RecordWriter w(file);
        ASSERT_TRUE(w.Ok());
        for (int p = 1; p <= Periods; ++p) {
            if (p == 11)
                continue;
            const float a = p == 12 ? 0.0f : 0.5f * p;
            const float b = p == 12 ? 0.0f : 100.0f - p;
            const float c = p == 12 ? 0.0f : 0.25f * (p % 7);
            Write(w, 5, p, p == 10 ? 0 : 1, {a, b, c, 7.0f});
        }
        for (int p = 1; p <= 20; ++p)
            Write(w, 6, p, 1, {1.0f * p, 2.0f, -0.5f, 0.0f});
        Write(w, 31, 48, 1, {1000.0f, 0.125f, 3.0f, 0.0f});
    }

    StoreMonth Load()
    {
        StoreMonth month;
        EXPECT_EQ(LoadStoreMonth(file.string(), month, 0, 0), "");
        return month;
    }

    double Value(int day, int period, int tag) const
    {
        const auto it = written.find({day, period, tag});
        return it == written.end() ? 0.0 : it->second;
    }
    PeriodState Expected(int day, int period) const
    {
        const auto it = flags.find({day, period});
        if (it == flags.end())
            return PeriodState::NotSaved;
        return it->second == 1 ? PeriodState::Measured : PeriodState::AfterStartUp;
    }
};

TEST_F(ReportFiguresTest, MonthComesFromTheFileWithItsTagsAndUnits)
{
    const StoreMonth m = Load();
    EXPECT_EQ(m.Year, 2024);
    EXPECT_EQ(m.Month, 3);
    EXPECT_EQ(m.Days, 31);
    EXPECT_EQ(m.PeriodsPerDay, 48);
    EXPECT_EQ(m.TagCount, 198);
    EXPECT_EQ(m.Tag(1).Name, "Main kWh");
    EXPECT_EQ(m.Tag(1).Units.Quantity, "kWh");
    EXPECT_EQ(m.Tag(1).Units.Demand, "kW");
    EXPECT_EQ(m.Tag(2).Units.Quantity, "kWh");
    EXPECT_EQ(m.Tag(3).Units.Demand, "m3/h");
    EXPECT_FALSE(m.Tag(4).Online);
    EXPECT_EQ(OnlineTags(m), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(TagListProblem(m, {1, 198}), "");
    EXPECT_NE(TagListProblem(m, {1, 199}).find("tag 199 is out of range"), std::string::npos);
    EXPECT_NE(TagListProblem(m, {0}).find("tag 0 is out of range"), std::string::npos);
}

TEST_F(ReportFiguresTest, DayProfileGivesQuantityDemandAndStateOfEveryPeriod)
{
    FillMonth();
    const StoreMonth m = Load();
    const DayProfile day = MakeDayProfile(m, 5, {1, 3});
    ASSERT_EQ(day.Periods.size(), 48u);
    for (const PeriodFigure& f : day.Periods) {
        SCOPED_TRACE(f.Period);
        EXPECT_EQ(f.StartMinutes, (f.Period - 1) * 30);
        EXPECT_EQ(f.EndMinutes, f.Period * 30);
        EXPECT_EQ(f.State, Expected(5, f.Period));
        EXPECT_DOUBLE_EQ(f.Quantity[0], Value(5, f.Period, 1));
        EXPECT_DOUBLE_EQ(f.Quantity[1], Value(5, f.Period, 3));
        // Half-hour periods: demand is twice the quantity.
        EXPECT_DOUBLE_EQ(f.Demand[0], 2 * Value(5, f.Period, 1));
    }
    EXPECT_EQ(day.Periods[9].State, PeriodState::AfterStartUp);
    EXPECT_EQ(day.Periods[10].State, PeriodState::NotSaved);
    EXPECT_EQ(day.Periods[11].State, PeriodState::Measured);  // a measured zero stays measured
    EXPECT_EQ(MakeDayProfile(m, 7, {1}).Periods[0].State, PeriodState::NotSaved);
}

TEST_F(ReportFiguresTest, MonthTotalsSumEachDayAndCountItsGaps)
{
    FillMonth();
    const StoreMonth m = Load();
    const MonthTotals totals = MakeMonthTotals(m, {1, 2, 3});
    ASSERT_EQ(totals.Days.size(), 31u);
    for (const DayTotal& d : totals.Days) {
        SCOPED_TRACE(d.Day);
        int notSaved = 0, startUp = 0;
        std::vector<double> sum(3, 0.0);
        for (int p = 1; p <= Periods; ++p) {
            notSaved += Expected(d.Day, p) == PeriodState::NotSaved;
            startUp += Expected(d.Day, p) == PeriodState::AfterStartUp;
            for (int t = 1; t <= 3; ++t)
                sum[static_cast<std::size_t>(t - 1)] += Value(d.Day, p, t);
        }
        EXPECT_EQ(d.NotSaved, notSaved);
        EXPECT_EQ(d.AfterStartUp, startUp);
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(d.Total[i], sum[i], 1e-9);
    }
    EXPECT_EQ(totals.Days[4].NotSaved, 1);
    EXPECT_EQ(totals.Days[5].NotSaved, 28);
    EXPECT_EQ(totals.Days[0].NotSaved, 48);
}

TEST_F(ReportFiguresTest, SiteTotalCountsOnlineTagsInTheTotalAndMarksThePeakTable)
{
    FillMonth();
    const fs::path ini = folder.Path() / "VoltarisSetup.ini";
    // Period 40 of the 5th ends at 20:00, period 48 at midnight of the 6th; a peak of another
    // month and one of the 6th must not mark anything on the 5th.
    std::ofstream(ini) << "[Peaks]\r\n1PeakValue=999\r\n1PeakTime=Mar 05, 24. 20:00\r\n"
                          "2PeakValue=998\r\n2PeakTime=Mar 06, 24. 00:00\r\n"
                          "3PeakValue=997\r\n3PeakTime=Apr 05, 24. 20:00\r\n"
                          "4PeakValue=996\r\n4PeakTime=Mar 06, 24. 01:00\r\n"
                          "5PeakValue=995\r\n5PeakTime=Mar 05, 24. 06:00\r\n";
    const StoreMonth m = Load();
    const SiteProfile site = MakeSiteProfile(m, 5, ReadPeaks(ini.string()));
    EXPECT_EQ(site.Tags, (std::vector<int>{1, 2}));  // tag 4 is in the total but off line
    ASSERT_EQ(site.Periods.size(), 48u);
    for (const SitePeriod& p : site.Periods) {
        SCOPED_TRACE(p.Period);
        EXPECT_NEAR(p.Total, Value(5, p.Period, 1) + Value(5, p.Period, 2), 1e-9);
        EXPECT_NEAR(p.Demand, 2 * p.Total, 1e-9);
        const int rank = p.Period == 40 ? 1 : p.Period == 48 ? 2 : p.Period == 12 ? 5 : 0;
        EXPECT_EQ(p.PeakRank, rank);
    }
    // Period 11 was never saved: a peak label for it is not believed.
    const SiteProfile day6 = MakeSiteProfile(m, 6, ReadPeaks(ini.string()));
    EXPECT_EQ(day6.Periods[1].PeakRank, 4);
    EXPECT_EQ(PeakLabel(m, 31, 1440), "Apr 01, 24. 00:00");
}

TEST_F(ReportFiguresTest, TagTableGivesMonthTotalAndTheFirstHighestPeriod)
{
    FillMonth();
    const StoreMonth m = Load();
    const std::vector<TagRow> rows = MakeTagTable(m, {1, 2, 3, 4});
    ASSERT_EQ(rows.size(), 4u);
    for (const TagRow& row : rows) {
        SCOPED_TRACE(row.Tag);
        double total = 0, highest = -1e30;
        int highDay = 0, highPeriod = 0;
        for (int d = 1; d <= 31; ++d)
            for (int p = 1; p <= Periods; ++p) {
                if (Expected(d, p) == PeriodState::NotSaved)
                    continue;
                const double v = Value(d, p, row.Tag);
                total += v;
                if (v > highest) {
                    highest = v;
                    highDay = d;
                    highPeriod = p;
                }
            }
        EXPECT_NEAR(row.MonthTotal, total, 1e-6);
        EXPECT_DOUBLE_EQ(row.Highest, highest);
        EXPECT_EQ(row.HighestDay, highDay);
        EXPECT_EQ(row.HighestPeriod, highPeriod);
        EXPECT_EQ(row.HighestEndMinutes, highPeriod * 30);
        EXPECT_DOUBLE_EQ(row.HighestDemand, 2 * highest);
    }
    EXPECT_EQ(rows[0].HighestDay, 31);       // 1000 on the last period of the month
    EXPECT_EQ(rows[0].HighestEndMinutes, 1440);
    EXPECT_EQ(rows[1].HighestPeriod, 1);     // 99, the first of the 5th
    EXPECT_EQ(rows[3].Highest, 7.0);         // 7 in each saved period of the 5th, the first wins
    EXPECT_EQ(rows[3].HighestPeriod, 1);
    EXPECT_EQ(rows[0].NotSaved, 31 * 48 - 47 - 20 - 1);
    EXPECT_EQ(rows[0].AfterStartUp, 1);
}

TEST_F(ReportFiguresTest, AMonthWithNothingSavedHasNoHighestPeriod)
{
    const StoreMonth m = Load();
    const std::vector<TagRow> rows = MakeTagTable(m, {1});
    EXPECT_FALSE(rows[0].HasHighest);
    EXPECT_EQ(rows[0].MonthTotal, 0);
    EXPECT_EQ(rows[0].NotSaved, 31 * 48);
}

TEST(ReportStoreMonth, RefusesWhatIsNotAStoreFile)
{
    TempFolder folder;
    const fs::path text = folder.Path() / "notes2403.lum";
    std::ofstream(text) << std::string(500, 'x');
    StoreMonth m;
    EXPECT_NE(LoadStoreMonth(text.string(), m, 0, 0).find("is not a store file"), std::string::npos);
    const fs::path shortFile = folder.Path() / "short2403.lum";
    std::ofstream(shortFile) << "abc";
    EXPECT_NE(LoadStoreMonth(shortFile.string(), m, 0, 0).find("3 bytes long"), std::string::npos);
    EXPECT_NE(LoadStoreMonth((folder.Path() / "none.lum").string(), m, 0, 0).find("cannot open"), std::string::npos);
}

TEST(ReportStoreMonth, AFileCutShortReadsAsNotSavedFromWhereItEnds)
{
    TempFolder folder;
    const fs::path file = folder.Path() / "Cut2402.lum";
    ASSERT_TRUE(MakeStoreFile(file, 24, {{"A kWh", true, true}}));
    {
        RecordWriter w(file);
        ASSERT_TRUE(w.Write(1, 1, 1, {5.0f}));
        ASSERT_TRUE(w.Write(2, 1, 1, {6.0f}));
    }
    StoreMonth whole;
    ASSERT_EQ(LoadStoreMonth(file.string(), whole, 0, 0), "");
    EXPECT_EQ(whole.Days, 29);  // February 2024
    // Cut inside the second day's first record.
    fs::resize_file(file, fs::file_size(file) - static_cast<std::uintmax_t>((31 * 24 - 24) * 804 + 10));
    StoreMonth cut;
    ASSERT_EQ(LoadStoreMonth(file.string(), cut, 0, 0), "");
    EXPECT_EQ(cut.State(1, 1), PeriodState::Measured);
    EXPECT_EQ(cut.Quantity(1, 1, 1), 5.0f);
    EXPECT_EQ(cut.State(2, 1), PeriodState::NotSaved);
}

TEST(ReportUnits, ComeFromTheTagName)
{
    EXPECT_EQ(UnitsFromTagName("Main incomer kWh").Demand, "kW");
    EXPECT_EQ(UnitsFromTagName("Chiller (MWh)").Demand, "MW");
    EXPECT_EQ(UnitsFromTagName("Reactive [kVArh]").Demand, "kVAr");
    EXPECT_EQ(UnitsFromTagName("Water m3").Demand, "m3/h");
    EXPECT_EQ(UnitsFromTagName("Steam (kg)").Demand, "kg/h");
    EXPECT_EQ(UnitsFromTagName("Flow").Quantity, "");
    EXPECT_EQ(UnitsFromTagName("Line 12").Quantity, "");  // a number is not a unit
    EXPECT_EQ(UnitsFromTagName("Feeder 2 incomer").Quantity, "");  // only known units go unbracketed
    EXPECT_EQ(UnitsFromTagName("Tank gal").Demand, "gal/h");
    EXPECT_EQ(UnitsFromTagName("").Quantity, "");
    EXPECT_EQ(UnitsFromTagName("()").Quantity, "");
}

} // namespace
