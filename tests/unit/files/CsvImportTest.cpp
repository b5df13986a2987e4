#include <chrono>
#include <fstream>
#include <regex>
#include <thread>

#include "FilesTestSupport.h"
#include "files/CsvImport.h"
#include "files/CsvLog.h"
#include "files/CsvStoreSession.h"
#include "platform/Clock.h"

using namespace filestest;

namespace {

// Places in a store file with 200 tag slots, 20 centers, no tariffs and 48 periods a day.
constexpr int64_t DataStart = TagDataStart(0, 0, 20, 200) + 728 * 200;
constexpr int64_t RecordSize = 4 * 200 + 4;
constexpr int64_t FileLength = DataStart - 1 + (31 * 48 - 1) * RecordSize + 2 + 4 * 200;
constexpr const char* Stamp = R"(\d\d/\d\d/\d\d \d\d:\d\d:\d\d - )";

std::size_t RecordAt(int day, int period) { return DataStart - 1 + ((day - 1) * 48 + period - 1) * RecordSize; }
std::size_t SlotAt(int day, int period, int tag) { return RecordAt(day, period) + 2 + 4 * (tag - 1); }

class CsvImportTest : public StoreTest {
protected:
    void SetUp() override
    {
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
        settings.StoreFilePath = "C:\\Telvane\\Job1\\Data\\Voltaris\\Vtrs2403.lum";
        fs::create_directories(StorePath(""));
        fs::create_directories(Import());
    }

    fs::path StorePath(const std::string& name) const { return DataFolder() / "Voltaris" / name; }
    fs::path Import() const { return root / "program" / "vtcsvlog"; }
    std::string Store(const std::string& name) const { return ReadBytes(StorePath(name)); }
    std::string ImportLog() const { return ReadBytes(Import() / "vtcsvlog.log"); }
    std::string Rejects() const { return ReadBytes(Import() / "vtcsvlog.rej"); }
    void Csv(const std::string& name, const std::string& text) { WriteBytes(Import() / name, text); }
    void Scan() { CSV_GetData(c); }

    void MathsTag(int tag, std::vector<MathsTerm> terms)
    {
        TagRecord& t = setup.TagTable[static_cast<std::size_t>(tag)];
        t.Online = t.TagType = 1;
        t.ScanType = 8;
        for (std::size_t k = 0; k < 7; ++k)
            t.MathsTerms[k] = k < terms.size() ? terms[k] : MathsTerm{201, 0, 0};
    }
};

TEST_F(CsvImportTest, FirstScanOnlyMakesTheFolder)
{
    fs::remove_all(Import());
    Scan();
    EXPECT_TRUE(fs::is_directory(Import()));
    EXPECT_TRUE(fs::is_empty(Import()));
    EXPECT_TRUE(view.status.empty());
    EXPECT_EQ(view.doEvents, 0);
    EXPECT_FALSE(fs::exists(StorePath("vtrs2403.lum")));
}

TEST_F(CsvImportTest, CountsLinesAndErrorsAndStoresTheValidOne)
{
    Csv("site.csv", "2024,3,5,21,12,153.25\r\n2024,3,5,0,12,1\r\n2024,3,5,21,179,1\r\n");
    Csv("notes.txt", "2024,3,6,1,4,4\n");
    Scan();
    EXPECT_FALSE(fs::exists(Import() / "site.csv"));
    EXPECT_TRUE(fs::exists(Import() / "notes.txt")) << "only .csv files, in either letter case, are imported";
    std::string path = (root / "program").string() + "\\vtcsvlog\\site.csv";
    std::transform(path.begin(), path.end(), path.begin(), [](unsigned char ch) { return std::tolower(ch); });
    path = std::regex_replace(path, std::regex(R"([.\-/\\])"), R"(\$&)");
    EXPECT_TRUE(std::regex_match(ImportLog(), std::regex(Stamp + path + ", Total = 3, Error = 2\r\n"))) << ImportLog();

    const std::string store = Store("vtrs2403.lum");
    ASSERT_EQ(static_cast<int64_t>(store.size()), FileLength);
    EXPECT_EQ(Get32(store, 109), DataStart);
    EXPECT_EQ(Get16(store, RecordAt(5, 21)), 1);
    EXPECT_EQ(GetF32(store, SlotAt(5, 21, 12)), 153.25F);
    // Nothing else in the records area was touched: the flag 01 00 and 153.25 as 00 40 19 43.
    EXPECT_EQ(std::count_if(store.begin() + DataStart - 1, store.end(), [](char ch) { return ch != 0; }), 4);

    const std::string rejects = Rejects();
    EXPECT_NE(rejects.find("site.csv, Line 2, period 0 is not 1 to 48\r\n"), std::string::npos) << rejects;
    EXPECT_NE(rejects.find("site.csv, Line 3, tag 179 is not 1 to 178\r\n"), std::string::npos) << rejects;
    EXPECT_EQ(view.status.front(), "Checking CSV Files\r\nc:\\telvane\\job1\\data\\voltaris\\vtrs2403.lum");
    EXPECT_EQ(view.status.back(), "Processing CSV File site.csv\r\n(3)");
    EXPECT_GE(view.doEvents, 2);
    // A line of another month goes to that month's file, a two-digit year in this century or the last.
    EXPECT_EQ(CsvTargetStorePath("C:\\Site.Data\\Voltaris\\Vtrs2403.lum", 1999, 12), "c:\\site.data\\voltaris\\vtrs9912.lum");
}

// Window events run now and then during a long file; whatever they do to the store file (another
// writer, a setup reload) is seen by the next value, as it would be storing value by value.
TEST_F(CsvImportTest, WindowEventsFindTheStoreFileClosedAndTheirChangesKept)
{
    Csv("a.csv", "2024,3,1,1,9,1\n");
    Scan();
    const fs::path march = fs::canonical(StorePath("vtrs2403.lum"));
    auto marchOpen = [&] {
        for (const auto& fd : fs::directory_iterator("/proc/self/fd")) {
            std::error_code ec;
            if (fs::read_symlink(fd.path(), ec) == march)
                return true;
        }
        return false;
    };
    // From the second pass of events of big.csv on, another writer puts 99 into tag 2 of the record.
    int laterPasses = 0, openDuringEvents = 0;
    view.doEvents = 0;
    view.onWait = [] { std::this_thread::sleep_for(std::chrono::milliseconds(60)); };
    view.onEvents = [&] {
        const std::string s = view.status.empty() ? "" : view.status.back();
        if (s.rfind("Processing CSV File big.csv", 0) != 0 || s.ends_with("(1)"))
            return;
        ++laterPasses;
        openDuringEvents += marchOpen();
        std::fstream f(march, std::ios::in | std::ios::out | std::ios::binary);
        const float v = 99.0F;
        f.seekp(static_cast<std::streamoff>(SlotAt(1, 1, 2)));
        f.write(reinterpret_cast<const char*>(&v), 4);
    };
    // Line 2 makes February's file, which takes 60 ms: events are due again by line 256.
    std::string text = "2024,3,1,1,1,5\n2024,2,1,1,1,1\n";
    for (int n = 3; n <= 4800; ++n)
        text += "2024,3,1,1,3," + std::to_string(n) + "\n";
    Csv("big.csv", text);
    Scan();
    EXPECT_GE(laterPasses, 2);
    EXPECT_LE(view.doEvents, 2 * (1 + 4800 / 256) + 1);  // not at every line; once in February's making
    EXPECT_EQ(view.status.back(), "Processing CSV File big.csv\r\n(4800)");
    EXPECT_EQ(openDuringEvents, 0);
    const std::string b = Store("vtrs2403.lum");
    EXPECT_EQ(GetF32(b, SlotAt(1, 1, 1)), 5.0F);
    EXPECT_EQ(GetF32(b, SlotAt(1, 1, 2)), 99.0F);
    EXPECT_EQ(GetF32(b, SlotAt(1, 1, 3)), 4800.0F);
    EXPECT_EQ(GetF32(b, SlotAt(1, 1, 9)), 1.0F);
}

TEST_F(CsvImportTest, DivisionByZeroAbandonsOnlyThatValue)
{
    MathsTag(10, {{6, 0, 1.0F}, {5, 4, 1.0F}});
    Csv("d.csv", "2024,3,2,1,5,2\n2024,3,2,1,6,8\n2024,3,2,2,6,3\n2024,3,2,2,4,9\n");  // tag 5 is 0 in period 2
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

// Faults other than a bad month leave the file too; a last line cut short is only an error line.
TEST_F(CsvImportTest, FaultLeavesTheFileForTheNextScan)
{
    struct Case {
        const char* text;
        const char* logged;
    };
    for (const Case& c : {Case{"2024,3,3,1,1,5\n2024,3,3,1,1\n", "a.csv, Line 2, fewer than six fields, file left"},
                          Case{"2024,3,4,70000,1,5\n", "a.csv, Line 1, a number too large for its field"}}) {
        Csv("a.csv", c.text);
        Csv("b.csv", "2024,3,3,5,1,8\n");
        Scan();
        EXPECT_TRUE(fs::exists(Import() / "a.csv"));
        EXPECT_TRUE(fs::exists(Import() / "b.csv")) << "files after it wait";
        EXPECT_NE(Rejects().find(c.logged), std::string::npos) << Rejects();
    }
    EXPECT_EQ(LogLinesWith("CSV_GetData, Error 6/ Overflow"), 1);

    Csv("a.csv", "2024,3,3,1,1,5\n2024,3,3,2,1,7\r\n2024,3,4");
    Scan();
    EXPECT_FALSE(fs::exists(Import() / "a.csv"));
    EXPECT_FALSE(fs::exists(Import() / "b.csv"));
    const std::string store = Store("vtrs2403.lum");
    EXPECT_EQ(GetF32(store, SlotAt(3, 2, 1)), 7.0F);
    EXPECT_EQ(GetF32(store, SlotAt(3, 5, 1)), 8.0F);
    EXPECT_NE(ImportLog().find("a.csv, Total = 3, Error = 1"), std::string::npos) << ImportLog();
}

// Count of the lines of the rejects file that hold text.
int RejectLines(const std::string& rejects, const std::string& text)
{
    int n = 0;
    for (std::size_t at = rejects.find(text); at != std::string::npos; at = rejects.find(text, at + 1))
        ++n;
    return n;
}

TEST_F(CsvImportTest, RetriedFileAddsItsRejectsOnce)
{
    // Line 2 is rejected and skipped, line 4 stops the import: the file waits for the next scan.
    Csv("a.csv", "2024,3,3,1,1,5\n2024,3,3,0,1,6\n2024,3,3,2,2,7\n2024,13,3,1,1,6\n");
    const std::string skipped = "a.csv, Line 2, period 0 is not 1 to 48\r\n";
    const std::string note = "a.csv, Line 4, month 13 is not 1 to 12, file left for the next scan\r\n";
    for (int scan = 0; scan < 3; ++scan)
        Scan();
    EXPECT_TRUE(fs::exists(Import() / "a.csv"));
    EXPECT_EQ(RejectLines(Rejects(), skipped), 1) << Rejects();
    EXPECT_EQ(RejectLines(Rejects(), note), 1) << Rejects();
    EXPECT_LT(Rejects().find(skipped), Rejects().find(note));
    EXPECT_EQ(LogLinesWith("CSV_GetData, Error 9/ Subscript out of range"), 3) << "the main log has every scan's";
    EXPECT_EQ(GetF32(Store("vtrs2403.lum"), SlotAt(3, 1, 1)), 5.0F) << "lines before the fault are stored";

    // Files after it wait too; a file before it in name order is imported meanwhile and its own
    // rejects are noted; a.csv still adds nothing.
    Csv("0.csv", "2024,3,3,9,179,1\n");
    Csv("b.csv", "2024,3,3,0,1,1\n");
    Scan();
    Scan();
    EXPECT_FALSE(fs::exists(Import() / "0.csv"));
    EXPECT_TRUE(fs::exists(Import() / "b.csv"));
    EXPECT_EQ(RejectLines(Rejects(), "0.csv, Line 1, tag 179 is not 1 to 178"), 1);
    EXPECT_EQ(RejectLines(Rejects(), "b.csv"), 0);
    EXPECT_EQ(RejectLines(Rejects(), skipped), 1);
    EXPECT_EQ(RejectLines(Rejects(), note), 1);

    // A changed file is a new attempt: its rejects are noted again, once.
    Csv("a.csv", "2024,3,3,1,1,5\n2024,3,3,0,1,6\n2024,3,3,2,2,8\n2024,13,3,1,1,6\n");
    Scan();
    Scan();
    EXPECT_EQ(RejectLines(Rejects(), skipped), 2);
    EXPECT_EQ(RejectLines(Rejects(), note), 2);
    EXPECT_EQ(state.CsvRejectsNoted.Size(), 1u);

    // Mended, it goes through (a new content, so its skipped line is noted with it) and nothing is
    // kept for it.
    Csv("a.csv", "2024,3,3,1,1,5\n2024,3,3,0,1,6\n2024,3,3,2,2,8\n");
    Scan();
    EXPECT_FALSE(fs::exists(Import() / "a.csv"));
    EXPECT_FALSE(fs::exists(Import() / "b.csv"));
    EXPECT_EQ(RejectLines(Rejects(), skipped), 3);
    EXPECT_EQ(RejectLines(Rejects(), "b.csv, Line 1, period 0"), 1);
    EXPECT_EQ(state.CsvRejectsNoted.Size(), 0u);
}

TEST_F(CsvImportTest, WaitingFileRemovedOrRetriedAfterARestart)
{
    const std::string note = "a.csv, Line 1, month 13 is not 1 to 12, file left for the next scan\r\n";
    Csv("a.csv", "2024,13,3,1,1,6\n");
    Scan();
    ASSERT_EQ(state.CsvRejectsNoted.Size(), 1u);
    // Taken away by hand: forgotten at the next scan.
    fs::remove(Import() / "a.csv");
    Scan();
    EXPECT_EQ(state.CsvRejectsNoted.Size(), 0u);

    // A restart forgets what was noted, but a note that is still the rejects file's last line is
    // not written again.
    Csv("a.csv", "2024,13,3,1,1,6\n");
    Scan();
    EXPECT_EQ(RejectLines(Rejects(), note), 1) << "the same text as before the file was removed";
    state = MonitorState{};
    state.StartingUp = 0;
    Scan();
    Scan();
    EXPECT_EQ(RejectLines(Rejects(), note), 1) << Rejects();
}

TEST_F(CsvImportTest, ImportLogRotatesJustPastItsLimit)
{
    const fs::path log = Import() / "vtcsvlog.log";
    WriteBytes(log, std::string(600000, 'a'));
    for (int i = 1; i <= 5; ++i)
        WriteBytes(Import() / ("vtcsvlog.@0" + std::to_string(i)), "generation " + std::to_string(i));
    CSV_AddToLog("appended");
    const std::string grown = ReadBytes(log);
    EXPECT_EQ(grown.substr(0, 600000), std::string(600000, 'a'));
    EXPECT_TRUE(std::regex_match(grown.substr(600000), std::regex(Stamp + std::string("appended\r\n"))));
    EXPECT_EQ(ReadBytes(Import() / "vtcsvlog.@01"), "generation 1");

    WriteBytes(log, std::string(600001, 'b'));
    CSV_AddToLog("fresh");
    EXPECT_TRUE(std::regex_match(ReadBytes(log), std::regex(Stamp + std::string("fresh\r\n"))));
    EXPECT_EQ(ReadBytes(Import() / "vtcsvlog.@01"), std::string(600001, 'b'));
    EXPECT_EQ(ReadBytes(Import() / "vtcsvlog.@02"), "generation 1");
    EXPECT_EQ(ReadBytes(Import() / "vtcsvlog.@05"), "generation 4");
    EXPECT_FALSE(fs::exists(Import() / "vtcsvlog.@06"));

    // The rejects file rotates on the same rule under names of its own.
    WriteBytes(Import() / "vtcsvlog.rej", std::string(600001, 'c'));
    CSV_AddToRejects("x.csv, Line 1, why");
    EXPECT_EQ(ReadBytes(Import() / "vtcsvlog.re1"), std::string(600001, 'c'));
    EXPECT_EQ(ReadBytes(Import() / "vtcsvlog.@01"), std::string(600001, 'b'));
}

// The import's batched writes against storing every value on its own: the same store files.
TEST_F(CsvImportTest, BatchGivesTheSameBytesAsValueByValue)
{
    MathsTag(9, {{5, 0, 2.0F}});
    MathsTag(10, {{6, 0, 1.0F}, {7, 4, 1.0F}});  // faults where tag 7 is 0
    MathsTag(3, {{10, 0, 0.5F}, {9, 2, 1.0F}});
    struct Row {
        int m, d, p, t;
        float v;
    };
    std::vector<Row> rows;
    std::string text;
    int n = 0;
    for (int d = 1; d <= 2; ++d)
        for (int p = 1; p <= 48; p += 5)
            for (int t = 8; t >= 4; --t) {
                ++n;
                // Back and forth between two files, and now and then an error line.
                const Row r{n % 7 == 0 ? 2 : 3, d, n % 13 == 0 ? 49 : p, t, static_cast<float>((n * 37) % 11) / 4.0F};
                rows.push_back(r);
                text += "2024," + std::to_string(r.m) + "," + std::to_string(r.d) + "," + std::to_string(r.p) + "," +
                        std::to_string(r.t) + "," + std::to_string(r.v) + "\r\n";
            }
    Csv("batch.csv", text);
    Scan();

    settings.StoreFilePath = "C:\\Telvane\\Job1\\Data\\Voltaris\\Ones2403.lum";
    for (const Row& r : rows)
        if (r.p <= 48)
            CSV_StoreData(c, 2024, static_cast<int16_t>(r.m), static_cast<int16_t>(r.d), static_cast<int16_t>(r.p),
                          static_cast<int16_t>(r.t), r.v);
    for (const char* yymm : {"2402", "2403"}) {
        const std::string batch = Store(std::string("vtrs") + yymm + ".lum");
        ASSERT_EQ(static_cast<int64_t>(batch.size()), FileLength);
        EXPECT_TRUE(batch == Store(std::string("ones") + yymm + ".lum")) << yymm;
    }
    // The faults did happen, in both runs alike.
    const int faults = LogLinesWith("CSV_StoreData, Error 11/ Division by zero");
    EXPECT_GT(faults, 0);
    EXPECT_EQ(faults % 2, 0);
    EXPECT_NE(GetF32(Store("vtrs2403.lum"), SlotAt(1, 1, 9)), 0.0F);
}

} // namespace
