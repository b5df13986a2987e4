#include <regex>

#include "FilesTestSupport.h"
#include "files/CsvImport.h"
#include "files/CsvLog.h"
#include "files/CsvStoreSession.h"
#include "platform/Clock.h"
#include "platform/DateSerial.h"

using namespace filestest;

namespace {

// Places in a store file with 200 tag slots, 20 centers, no tariffs and 48 periods a day, worked
// out from the record sizes: header 199, pair tables 20 x 62, centers 38, tag summary 62 and
// three int16 per tag, fixed entries 67 x 30, then 728 bytes per tag.
constexpr int64_t TagDataStart = 199 + 20 * 62 + 20 * 38 + 200 * 62 + 200 * 6 + 67 * 30 + 1;
constexpr int64_t DataStart = TagDataStart + 728 * 200;
constexpr int64_t RecordSize = 4 * 200 + 4;
constexpr int64_t FileLength = DataStart - 1 + (31 * 48 - 1) * RecordSize + 2 + 4 * 200;

int64_t RecordAt(int day, int period) { return DataStart - 1 + ((day - 1) * 48 + period - 1) * RecordSize; }
int64_t SlotAt(int day, int period, int tag) { return RecordAt(day, period) + 2 + 4 * (tag - 1); }

class CsvImportTest : public TempPrefixTest {
protected:
    void SetUp() override
    {
        TempPrefixTest::SetUp();
        ASSERT_FALSE(ClockSimulate(MakeDateTime(2024, 3, 10, 12, 0, 0), 1.0).Failed());
        setup.SetupVersion = 250;
        setup.PeriodsPerDay = 48;
        setup.CenterCount = 20;
        setup.MaxTags = 200;
        setup.TagCount = 178;
        setup.Centers.resize(21);
        setup.Tariffs.resize(1);
        setup.TariffEntries.resize(1);
        setup.TagTable.resize(201);
        setup.TagAuxEntries.resize(201);
        values.resize(201);
        state.StartingUp = 0;
        settings.StoreFilePrefix = "Vtrs";
        settings.StoreFilePath = "C:\\Telvane\\Job1\\Data\\Voltaris\\Vtrs2403.lum";
        fs::create_directories(StoreFolder());
        fs::create_directories(ImportFolder());
    }

    fs::path StoreFolder() const { return root / "prefix" / "drives" / "c" / "Telvane" / "Job1" / "Data" / "Voltaris"; }
    fs::path ImportFolder() const { return root / "program" / "vtcsvlog"; }
    fs::path StorePath(const std::string& name) const { return StoreFolder() / name; }
    std::string Store(const std::string& name) const { return ReadBytes(StorePath(name)); }
    std::string ImportLog() const { return ReadBytes(ImportFolder() / "vtcsvlog.log"); }
    std::string Rejects() const { return ReadBytes(ImportFolder() / "vtcsvlog.rej"); }

    void Csv(const std::string& name, const std::string& text) { WriteBytes(ImportFolder() / name, text); }

    void MathsTag(int tag, std::vector<MathsTerm> terms)
    {
        TagRecord& t = setup.TagTable[static_cast<std::size_t>(tag)];
        t.Online = 1;
        t.TagType = 1;
        t.ScanType = 8;
        for (std::size_t k = 0; k < 7; ++k)
            t.MathsTerms[k] = k < terms.size() ? terms[k] : MathsTerm{201, 0, 0};
    }

    void Scan()
    {
        StoreContext c{setup, values, settings, state, host, view};
        CSV_GetData(c);
    }

    SetupData setup;
    TagValues values;
    MonitorSettings settings;
    MonitorState state;
    FixedHost host;
    RecordingView view;
};

TEST_F(CsvImportTest, FirstScanOnlyMakesTheFolder)
{
    fs::remove_all(ImportFolder());
    Scan();
    EXPECT_TRUE(fs::is_directory(ImportFolder()));
    EXPECT_TRUE(view.status.empty());
    EXPECT_EQ(view.doEvents, 0);
    EXPECT_FALSE(fs::exists(StorePath("vtrs2403.lum")));
    EXPECT_TRUE(fs::is_empty(ImportFolder()));
}

TEST_F(CsvImportTest, CountsLinesAndErrorsAndStoresTheValidOne)
{
    Csv("site.csv", "2024,3,5,21,12,153.25\r\n2024,3,5,0,12,1\r\n2024,3,5,21,179,1\r\n");
    Scan();

    EXPECT_FALSE(fs::exists(ImportFolder() / "site.csv"));
    const std::string log = ImportLog();
    const std::string path = [&] {
        std::string p = (root / "program").string() + "\\vtcsvlog\\site.csv";
        for (char& ch : p)
            ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
        return p;
    }();
    EXPECT_TRUE(std::regex_match(log, std::regex(R"(\d\d/\d\d/\d\d \d\d:\d\d:\d\d - )" +
                                                 std::regex_replace(path, std::regex(R"([.\-/\\])"), R"(\$&)") +
                                                 ", Total = 3, Error = 2\r\n")))
        << log;

    const std::string store = Store("vtrs2403.lum");
    ASSERT_EQ(static_cast<int64_t>(store.size()), FileLength);
    EXPECT_EQ(Get32(store, 109), DataStart);
    EXPECT_EQ(Get16(store, RecordAt(5, 21)), 1);
    EXPECT_EQ(GetF32(store, SlotAt(5, 21, 12)), 153.25F);
    // Nothing else in the records area was touched.
    int nonZero = 0;
    for (int64_t i = DataStart - 1; i < FileLength; ++i)
        nonZero += store[static_cast<std::size_t>(i)] != 0;
    EXPECT_EQ(nonZero, 1 + 3);  // the flag 01 00 and 153.25 as 00 40 19 43

    const std::string rejects = Rejects();
    EXPECT_NE(rejects.find("site.csv, Line 2, period 0 is not 1 to 48\r\n"), std::string::npos) << rejects;
    EXPECT_NE(rejects.find("site.csv, Line 3, tag 179 is not 1 to 178\r\n"), std::string::npos) << rejects;
    EXPECT_EQ(view.status.front(), "Checking CSV Files\r\nc:\\telvane\\job1\\data\\voltaris\\vtrs2403.lum");
    EXPECT_EQ(view.status.back(), "Processing CSV File site.csv\r\n(3)");
    EXPECT_GE(view.doEvents, 2);
}

TEST_F(CsvImportTest, EventsAreServedWithoutRunningEveryLine)
{
    std::string text;
    for (int p = 1; p <= 48; ++p)
        for (int t = 1; t <= 100; ++t)
            text += "2024,3,7," + std::to_string(p) + "," + std::to_string(t) + ",1\n";
    Csv("big.csv", text);
    Scan();
    // At the first line, then at most once per 256 lines.
    EXPECT_GE(view.doEvents, 2);
    EXPECT_LE(view.doEvents, 2 * (1 + 4800 / 256));
    EXPECT_EQ(view.status.back(), "Processing CSV File big.csv\r\n(4800)");
    EXPECT_EQ(GetF32(Store("vtrs2403.lum"), SlotAt(7, 48, 100)), 1.0F);
}

TEST_F(CsvImportTest, CalendarDatesAndTwoDigitYears)
{
    Csv("dates.csv",
        "2024,4,31,1,1,1\n"    // no 31 April
        "2023,2,29,1,1,1\n"    // 2023 is no leap year
        "1900,2,29,1,1,1\n"    // nor 1900
        "2024,2,0,1,1,1\n"
        "24,2,29,48,1,7.5\n"   // 2024 leap day, two-digit year
        "2024,4,30,1,1,2\n"
        "99,12,31,1,1,3\n");   // 1999
    Scan();
    EXPECT_NE(ImportLog().find(", Total = 7, Error = 4\r\n"), std::string::npos) << ImportLog();
    EXPECT_EQ(GetF32(Store("vtrs2402.lum"), SlotAt(29, 48, 1)), 7.5F);
    EXPECT_EQ(GetF32(Store("vtrs2404.lum"), SlotAt(30, 1, 1)), 2.0F);
    EXPECT_EQ(GetF32(Store("vtrs9912.lum"), SlotAt(31, 1, 1)), 3.0F);
}

TEST_F(CsvImportTest, PreviousMonthGoesIntoItsOwnFileMadeFirst)
{
    // An existing February file with a value already in the record keeps it.
    Csv("a.csv", "2024,2,10,3,4,1.5\n");
    Scan();
    Csv("b.csv", "2024,2,28,48,7,42\n2024,2,10,3,5,2.5\n");
    Scan();
    const std::string feb = Store("vtrs2402.lum");
    ASSERT_EQ(static_cast<int64_t>(feb.size()), FileLength);
    EXPECT_EQ(GetF32(feb, SlotAt(28, 48, 7)), 42.0F);
    EXPECT_EQ(Get16(feb, RecordAt(28, 48)), 1);
    EXPECT_EQ(GetF32(feb, SlotAt(10, 3, 4)), 1.5F);
    EXPECT_EQ(GetF32(feb, SlotAt(10, 3, 5)), 2.5F);
    EXPECT_EQ(Get16(feb, 60), 200);
    EXPECT_EQ(Get16(feb, 66), 48);
    EXPECT_FALSE(fs::exists(StorePath("vtrs2403.lum")));
    EXPECT_EQ(view.waits.front(), "Store File Data");
    EXPECT_GE(view.waitsClosed, 1);
}

TEST_F(CsvImportTest, MathsTagsOfTheRecordAreWorkedOutInTagOrder)
{
    MathsTag(9, {{5, 0, 2.0F}});
    // Tag 7 comes before 9, so it sees tag 9 as read from the file.
    MathsTag(7, {{9, 0, 1.0F}, {5, 1, 1.0F}});
    // (tag 5 + tag 6) x tag 8: left to right.
    MathsTag(11, {{5, 0, 1.0F}, {6, 1, 1.0F}, {8, 3, 1.0F}});
    Csv("m.csv", "2024,3,1,1,5,10\n2024,3,1,1,6,2\n2024,3,1,1,8,3\n");
    Scan();
    const std::string store = Store("vtrs2403.lum");
    EXPECT_EQ(GetF32(store, SlotAt(1, 1, 9)), 20.0F);
    EXPECT_EQ(GetF32(store, SlotAt(1, 1, 7)), 30.0F);  // 20 from the second line's read + 10
    EXPECT_EQ(GetF32(store, SlotAt(1, 1, 11)), 36.0F);
}

TEST_F(CsvImportTest, DivisionByZeroAbandonsOnlyThatValue)
{
    MathsTag(10, {{6, 0, 1.0F}, {5, 4, 1.0F}});
    Csv("d.csv",
        "2024,3,2,1,5,2\n"
        "2024,3,2,1,6,8\n"
        "2024,3,2,2,6,3\n"    // tag 5 is 0 in period 2
        "2024,3,2,2,4,9\n");
    Scan();
    const std::string store = Store("vtrs2403.lum");
    EXPECT_EQ(GetF32(store, SlotAt(2, 1, 10)), 4.0F);
    EXPECT_EQ(GetF32(store, SlotAt(2, 2, 6)), 0.0F);
    EXPECT_EQ(Get16(store, RecordAt(2, 2)), 1);
    EXPECT_EQ(GetF32(store, SlotAt(2, 2, 4)), 0.0F);  // 0 / 0 now, which overflows
    EXPECT_EQ(LogLinesWith("CSV_StoreData, Error 11/ Division by zero"), 1);
    EXPECT_EQ(LogLinesWith("CSV_StoreData, Error 6/ Overflow"), 1);
    EXPECT_NE(ImportLog().find(", Total = 4, Error = 0"), std::string::npos);
    EXPECT_NE(Rejects().find("d.csv, Line 3, not stored: Error 11/ Division by zero"), std::string::npos);
}

TEST_F(CsvImportTest, FaultLeavesTheFileForTheNextScan)
{
    Csv("a.csv", "2024,3,3,1,1,5\n2024,13,3,1,1,6\n2024,3,3,2,1,7\n");
    Csv("b.csv", "2024,3,3,5,1,8\n");
    Scan();
    Scan();
    EXPECT_TRUE(fs::exists(ImportFolder() / "a.csv"));
    EXPECT_TRUE(fs::exists(ImportFolder() / "b.csv"));
    EXPECT_FALSE(fs::exists(ImportFolder() / "vtcsvlog.log"));
    EXPECT_EQ(LogLinesWith("CSV_GetData, Error 9/ Subscript out of range"), 2);
    // The retry is noted once.
    const std::string rejects = Rejects();
    const std::string note = "a.csv, Line 2, month 13 is not 1 to 12, file left for the next scan\r\n";
    ASSERT_NE(rejects.find(note), std::string::npos) << rejects;
    EXPECT_EQ(rejects.find(note), rejects.rfind(note));
    // Values before the faulty line are stored as the line is read.
    EXPECT_EQ(GetF32(Store("vtrs2403.lum"), SlotAt(3, 1, 1)), 5.0F);

    Csv("a.csv", "2024,3,3,1,1,5\n2024,3,3,1,1\n");
    Scan();
    EXPECT_TRUE(fs::exists(ImportFolder() / "a.csv"));
    EXPECT_NE(Rejects().find("a.csv, Line 2, fewer than six fields, file left"), std::string::npos);

    Csv("a.csv", "2024,3,3,1,1,5\n2024,3,3,2,1,7\n");
    Scan();
    EXPECT_FALSE(fs::exists(ImportFolder() / "a.csv"));
    EXPECT_FALSE(fs::exists(ImportFolder() / "b.csv"));
    const std::string store = Store("vtrs2403.lum");
    EXPECT_EQ(GetF32(store, SlotAt(3, 2, 1)), 7.0F);
    EXPECT_EQ(GetF32(store, SlotAt(3, 5, 1)), 8.0F);
    EXPECT_NE(ImportLog().find("a.csv, Total = 2, Error = 0"), std::string::npos);
}

TEST_F(CsvImportTest, LineCutShortAtTheEndIsAnErrorLineAndOverflowStops)
{
    Csv("a.csv", "2024,3,4,1,1,5\r\n2024,3,4");
    Scan();
    EXPECT_FALSE(fs::exists(ImportFolder() / "a.csv"));
    EXPECT_NE(ImportLog().find("a.csv, Total = 2, Error = 1"), std::string::npos);

    Csv("b.csv", "2024,3,4,70000,1,5\n");
    Scan();
    EXPECT_TRUE(fs::exists(ImportFolder() / "b.csv"));
    EXPECT_EQ(LogLinesWith("CSV_GetData, Error 6/ Overflow"), 1);
}

TEST_F(CsvImportTest, BothLetterCasesInNameOrder)
{
    Csv("B.CSV", "2024,3,6,1,2,2\n");
    Csv("a.csv", "2024,3,6,1,2,1\n");
    Csv("c.Csv", "2024,3,6,1,3,3\n");
    Csv("notes.txt", "2024,3,6,1,4,4\n");
    Scan();
    const std::string store = Store("vtrs2403.lum");
    EXPECT_EQ(GetF32(store, SlotAt(6, 1, 2)), 2.0F);  // b after a
    EXPECT_EQ(GetF32(store, SlotAt(6, 1, 3)), 3.0F);
    EXPECT_EQ(GetF32(store, SlotAt(6, 1, 4)), 0.0F);
    EXPECT_TRUE(fs::exists(ImportFolder() / "notes.txt"));
    const std::string log = ImportLog();
    EXPECT_LT(log.find("a.csv,"), log.find("b.csv,"));
    EXPECT_LT(log.find("b.csv,"), log.find("c.csv,"));
}

TEST_F(CsvImportTest, ImportLogRotatesJustPastItsLimit)
{
    const fs::path log = ImportFolder() / "vtcsvlog.log";
    WriteBytes(log, std::string(600000, 'a'));
    for (int i = 1; i <= 5; ++i)
        WriteBytes(ImportFolder() / ("vtcsvlog.@0" + std::to_string(i)), "generation " + std::to_string(i));
    CSV_AddToLog("appended");
    const std::string grown = ReadBytes(log);
    EXPECT_EQ(grown.substr(0, 600000), std::string(600000, 'a'));
    EXPECT_EQ(grown.substr(600000 + 17), " - appended\r\n");
    EXPECT_EQ(ReadBytes(ImportFolder() / "vtcsvlog.@01"), "generation 1");

    WriteBytes(log, std::string(600001, 'b'));
    CSV_AddToLog("fresh");
    EXPECT_TRUE(std::regex_match(ReadBytes(log), std::regex(R"(\d\d/\d\d/\d\d \d\d:\d\d:\d\d - fresh\r\n)")));
    EXPECT_EQ(ReadBytes(ImportFolder() / "vtcsvlog.@01"), std::string(600001, 'b'));
    EXPECT_EQ(ReadBytes(ImportFolder() / "vtcsvlog.@02"), "generation 1");
    EXPECT_EQ(ReadBytes(ImportFolder() / "vtcsvlog.@05"), "generation 4");
    EXPECT_FALSE(fs::exists(ImportFolder() / "vtcsvlog.@06"));

    // The rejects file rotates on the same rule under names of its own.
    WriteBytes(ImportFolder() / "vtcsvlog.rej", std::string(600001, 'c'));
    CSV_AddToRejects("x.csv, Line 1, why");
    EXPECT_EQ(ReadBytes(ImportFolder() / "vtcsvlog.re1"), std::string(600001, 'c'));
    EXPECT_EQ(ReadBytes(ImportFolder() / "vtcsvlog.@01"), std::string(600001, 'b'));
}

TEST_F(CsvImportTest, TargetPathTakesTheMonthOfTheLine)
{
    EXPECT_EQ(CsvTargetStorePath("C:\\Telvane\\Job1\\Data\\Voltaris\\Vtrs2403.lum", 2024, 2),
              "c:\\telvane\\job1\\data\\voltaris\\vtrs2402.lum");
    EXPECT_EQ(CsvTargetStorePath("C:\\Site.Data\\Voltaris\\Vtrs2403.lum", 1999, 12),
              "c:\\site.data\\voltaris\\vtrs9912.lum");
}

// The import's batched writes against storing every value on its own: the same store files.
TEST_F(CsvImportTest, BatchGivesTheSameBytesAsValueByValue)
{
    MathsTag(9, {{5, 0, 2.0F}});
    MathsTag(10, {{6, 0, 1.0F}, {7, 4, 1.0F}});  // faults where tag 7 is 0
    MathsTag(3, {{10, 0, 0.5F}, {9, 2, 1.0F}});

    struct Row {
        int y, m, d, p, t;
        float v;
    };
    std::vector<Row> rows;
    std::string text;
    int n = 0;
    for (int d = 1; d <= 2; ++d)
        for (int p = 1; p <= 48; p += 5)
            for (int t = 8; t >= 4; --t) {
                ++n;
                Row r{2024, 3, d, p, t, static_cast<float>((n * 37) % 11) / 4.0F};
                if (n % 7 == 0)
                    r.m = 2;  // back and forth between two files
                if (n % 13 == 0)
                    r.p = 49;  // error line
                rows.push_back(r);
                text += std::to_string(r.y) + "," + std::to_string(r.m) + "," + std::to_string(r.d) + "," +
                        std::to_string(r.p) + "," + std::to_string(r.t) + "," + std::to_string(r.v) + "\r\n";
            }
    Csv("batch.csv", text);
    Scan();

    settings.StoreFilePath = "C:\\Telvane\\Job1\\Data\\Voltaris\\Ones2403.lum";
    StoreContext c{setup, values, settings, state, host, view};
    for (const Row& r : rows)
        if (r.p <= 48)
            CSV_StoreData(c, static_cast<int16_t>(r.y), static_cast<int16_t>(r.m), static_cast<int16_t>(r.d),
                          static_cast<int16_t>(r.p), static_cast<int16_t>(r.t), r.v);

    for (const char* yymm : {"2402", "2403"}) {
        const std::string batch = Store(std::string("vtrs") + yymm + ".lum");
        const std::string single = Store(std::string("ones") + yymm + ".lum");
        ASSERT_EQ(static_cast<int64_t>(batch.size()), FileLength);
        EXPECT_TRUE(batch == single) << yymm;
    }
    // The faults did happen, in both runs alike.
    const int faults = LogLinesWith("CSV_StoreData, Error 11/ Division by zero");
    EXPECT_GT(faults, 0);
    EXPECT_EQ(faults % 2, 0);
    EXPECT_NE(GetF32(Store("vtrs2403.lum"), SlotAt(1, 1, 9)), 0.0F);
}

} // namespace
