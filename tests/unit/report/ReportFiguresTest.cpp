// The figures of the views at their edges. Each view's figures in the ordinary case are checked
// byte for byte through its CSV (ReportCsvTest).
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <fstream>

#include "ReportTestStore.h"
#include "files/ByteFields.h"
#include "report/figures/ReportCsv.h"
#include "report/figures/ReportFigures.h"

using namespace reporttest;

namespace {

// Four tags at 48 periods a day, March 2024: two counted in the site total, one not, one off line.
// Day 5 is saved but for period 11, period 10 the first after a start-up; day 6 has period 2 and
// day 31 its last period.
class ReportFiguresTest : public ::testing::Test {
protected:
    TempFolder folder;
    fs::path file = folder.Path() / "Site2403.lum";

    void SetUp() override
    {
        ASSERT_TRUE(MakeStoreFile(file, 48,
                                  {{"Main kWh", true, true}, {"Boiler (kWh)", true, true}, {"Gas m3", true, false},
                                   {"Spare", false, true}}));
        RecordWriter w(file);
        for (int p = 1; p <= 48; ++p) {
            if (p != 11) {
                ASSERT_TRUE(w.Write(5, p, p == 10 ? 0 : 1, {1.0f * p, 100.0f, 1000.0f, 7.0f}));
            }
        }
        ASSERT_TRUE(w.Write(6, 2, 1, {1.0f, 0.0f, 0.0f, 0.0f}));
        ASSERT_TRUE(w.Write(31, 48, 1, {1000.0f, 0.125f, 3.0f, 0.0f}));
    }

    StoreMonth Load()
    {
        StoreMonth month;
        EXPECT_EQ(LoadStoreMonth(file.string(), month, 0, 0), "");
        return month;
    }
};

TEST_F(ReportFiguresTest, SiteTotalCountsOnlineTagsInTheTotalAndMarksThePeakTable)
{
    // Period 40 of the 5th ends at 20:00, period 48 at midnight of the 6th; a peak of another
    // month, one of the 6th and one on a period never saved mark nothing on the 5th.
    const fs::path ini = folder.Path() / "VoltarisSetup.ini";
    std::ofstream(ini) << "[Peaks]\r\n1PeakValue=999\r\n1PeakTime=Mar 05, 24. 20:00\r\n"
                          "2PeakValue=998\r\n2PeakTime=Mar 06, 24. 00:00\r\n"
                          "3PeakValue=997\r\n3PeakTime=Apr 05, 24. 20:00\r\n"
                          "4PeakValue=996\r\n4PeakTime=Mar 06, 24. 01:00\r\n"
                          "5PeakValue=995\r\n5PeakTime=Mar 05, 24. 06:00\r\n"
                          "6PeakValue=994\r\n6PeakTime=Mar 05, 24. 05:30\r\n";
    const StoreMonth m = Load();
    const SiteProfile site = MakeSiteProfile(m, 5, ReadPeaks(ini.string()));
    EXPECT_EQ(site.Tags, (std::vector<int>{1, 2}));  // tag 4 is in the total but off line
    ASSERT_EQ(site.Periods.size(), 48u);
    for (const SitePeriod& p : site.Periods) {
        SCOPED_TRACE(p.Period);
        EXPECT_DOUBLE_EQ(p.Total, p.Period == 11 ? 0 : p.Period + 100);
        EXPECT_DOUBLE_EQ(p.Demand, 2 * p.Total);
        EXPECT_EQ(p.PeakRank, p.Period == 40 ? 1 : p.Period == 48 ? 2 : p.Period == 12 ? 5 : 0);
    }
    EXPECT_EQ(MakeSiteProfile(m, 6, ReadPeaks(ini.string())).Periods[1].PeakRank, 4);
}

TEST_F(ReportFiguresTest, TagTableFindsTheFirstHighestPeriodUpToTheMonthsLast)
{
    const StoreMonth m = Load();
    EXPECT_EQ(OnlineTags(m), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(m.Tag(2).Units.Quantity, "kWh");
    EXPECT_EQ(TagListProblem(m, {1, 198}), "");
    EXPECT_NE(TagListProblem(m, {1, 199}).find("tag 199 is out of range"), std::string::npos);
    EXPECT_NE(TagListProblem(m, {0}).find("tag 0 is out of range"), std::string::npos);

    const std::vector<TagRow> rows = MakeTagTable(m, {1, 2, 4});
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_DOUBLE_EQ(rows[0].MonthTotal, 48 * 49 / 2 - 11 + 1 + 1000);
    EXPECT_EQ(rows[0].HighestDay, 31);
    EXPECT_EQ(rows[0].HighestEndMinutes, 1440);
    EXPECT_DOUBLE_EQ(rows[0].HighestDemand, 2000);
    EXPECT_EQ(PeakLabel(m, 31, 1440), "Apr 01, 24. 00:00");
    EXPECT_EQ(rows[0].NotSaved, 31 * 48 - 47 - 2);
    EXPECT_EQ(rows[0].AfterStartUp, 1);
    // Ties: the first period wins, off line or not.
    for (const TagRow& row : {rows[1], rows[2]}) {
        EXPECT_EQ(row.HighestDay, 5);
        EXPECT_EQ(row.HighestPeriod, 1);
    }
    EXPECT_EQ(rows[2].Highest, 7.0);

    // A month with nothing saved has no highest period.
    const fs::path empty = folder.Path() / "Empty2403.lum";
    ASSERT_TRUE(MakeStoreFile(empty, 48, {{"A kWh", true, true}}));
    StoreMonth none;
    ASSERT_EQ(LoadStoreMonth(empty.string(), none, 0, 0), "");
    const TagRow row = MakeTagTable(none, {1})[0];
    EXPECT_FALSE(row.HasHighest);
    EXPECT_EQ(row.MonthTotal, 0);
    EXPECT_EQ(row.NotSaved, 31 * 48);
}

TEST(ReportStoreMonth, RefusesWhatIsNotAStoreFileAndReadsACutFileAsNotSavedFromTheCut)
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

    const fs::path file = folder.Path() / "Cut2402.lum";
    ASSERT_TRUE(MakeStoreFile(file, 24, {{"A kWh", true, true}}));
    {
        RecordWriter w(file);
        ASSERT_TRUE(w.Write(1, 1, 1, {5.0f}));
        ASSERT_TRUE(w.Write(1, 2, 2, {7.0f}));  // a flag no monitor writes
        ASSERT_TRUE(w.Write(1, 3, 0, {-1.0f}));
        ASSERT_TRUE(w.Write(1, 4, 0, {0.0f}));
        ASSERT_TRUE(w.Write(2, 1, 1, {6.0f}));
    }
    // Cut inside the second day's first record (of 31 days' records, whatever the month).
    fs::resize_file(file, fs::file_size(file) - static_cast<std::uintmax_t>((31 * 24 - 24) * 804 + 10));
    StoreMonth cut;
    ASSERT_EQ(LoadStoreMonth(file.string(), cut, 0, 0), "");
    EXPECT_EQ(cut.Days, 29);  // February 2024
    EXPECT_EQ(cut.State(1, 1), PeriodState::Measured);
    EXPECT_EQ(cut.Quantity(1, 1, 1), 5.0f);
    EXPECT_EQ(cut.State(1, 2), PeriodState::NotSaved);
    EXPECT_EQ(cut.State(1, 3), PeriodState::AfterStartUp);
    EXPECT_EQ(cut.State(1, 4), PeriodState::NotSaved);  // a save of nothing reads as never written
    EXPECT_EQ(cut.State(2, 1), PeriodState::NotSaved);
}

TEST(ReportStoreMonth, KeepsOnlyTheRecordsTheFileHoldsWhateverItsHeaderClaims)
{
    // The widest header a store file may have, 8,191 tag slots, over a file that ends at its third
    // record's last saved tag: the month's arrays for every slot would take 97 MB.
    TempFolder folder;
    const fs::path file = folder.Path() / "Wide2403.lum";
    ASSERT_TRUE(MakeStoreFile(file, 96, {{"A kWh", true, true}}));
    const int maxTags = 8191;
    const int64_t tagDataStart = StoreTagDataStart(0, 0, 0, maxTags);
    const int64_t dataStart = StoreDataStart(tagDataStart, maxTags, 96);
    {
        std::fstream f(file, std::ios::binary | std::ios::in | std::ios::out);
        std::string header(StoreHeaderSize, '\0');
        ASSERT_TRUE(f.read(header.data(), StoreHeaderSize));
        PutInt16At(header, StoreOffsetMaxTags, maxTags);
        PutInt32At(header, StoreOffsetTagDataStart, static_cast<int32_t>(tagDataStart));
        PutInt32At(header, StoreOffsetDataStart, static_cast<int32_t>(dataStart));
        f.seekp(0);
        ASSERT_TRUE(f.write(header.data(), StoreHeaderSize));
    }
    const int64_t recordSize = 4 * int64_t{maxTags} + 4;
    fs::resize_file(file, static_cast<std::uintmax_t>(dataStart - 1 + 2 * recordSize + 2 + 4 * (maxTags - 2)));
    {
        RecordWriter w(file);
        ASSERT_TRUE(w.Write(1, 1, 1, {5.0f}));
        std::vector<float> last(maxTags - 2, 0.0f);
        last.back() = 2.0f;
        ASSERT_TRUE(w.Write(1, 3, 0, last));
    }
    rusage before{};
    getrusage(RUSAGE_SELF, &before);
    StoreMonth m;
    ASSERT_EQ(LoadStoreMonth(file.string(), m, 0, 0), "");
    rusage after{};
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 64 * 1024) << "kB more at the peak";
    EXPECT_EQ(m.TagCount, maxTags - 2);
    EXPECT_EQ(m.State(1, 1), PeriodState::Measured);
    EXPECT_EQ(m.Quantity(1, 1, 1), 5.0f);
    EXPECT_EQ(m.State(1, 2), PeriodState::NotSaved);
    EXPECT_EQ(m.State(1, 3), PeriodState::AfterStartUp);
    EXPECT_EQ(m.Quantity(1, 3, maxTags - 2), 2.0f);
    EXPECT_EQ(m.State(1, 4), PeriodState::NotSaved);
    EXPECT_EQ(m.Quantity(1, 4, maxTags - 2), 0.0f);
    EXPECT_EQ(m.State(31, 96), PeriodState::NotSaved);
    EXPECT_EQ(MakeTagTable(m, {1})[0].NotSaved, 31 * 96 - 2);
}

TEST(ReportUnits, ComeFromTheTagName)
{
    const std::pair<const char*, const char*> cases[] = {
        {"Main incomer kWh", "kW"}, {"Chiller (MWh)", "MW"}, {"Reactive [kVArh]", "kVAr"}, {"Water m3", "m3/h"},
        {"Steam (kg)", "kg/h"},     {"Tank gal", "gal/h"},
        // A number is not a unit, and only known units go unbracketed.
        {"Flow", ""}, {"Line 12", ""}, {"Feeder 2 incomer", ""}, {"", ""}, {"()", ""}};
    for (const auto& [name, demand] : cases)
        EXPECT_EQ(UnitsFromTagName(name).Demand, demand) << name;
}

} // namespace
