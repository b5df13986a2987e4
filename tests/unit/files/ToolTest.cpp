// vt-store and vt-mtg as programs. (--help, --version and a leading unknown option are checked on
// the installed package.)
#include "FilesTestSupport.h"
#include "files/HalfHourSave.h"
#include "files/SetupDescription.h"
#include "files/SetupFileImage.h"
#include "files/StoreFile.h"

using namespace filestest;

namespace {

class ToolTest : public StoreTest {
protected:
    void SetUp() override
    {
        if (ToolPath("vt-mtg").empty() || ToolPath("vt-store").empty())
            GTEST_SKIP() << "the tools are not built beside the tests";
        settings.StoreFilePrefix = "Site";
    }

    // The store file of the month of start, made by the monitor's start-up from f; its local path.
    std::string MakeStore(const MtgImage& f, DateTime start)
    {
        WriteMtg(f.bytes);
        EXPECT_EQ(Start(start), SetupLoadResult::Loaded);
        return LocalPath(settings.StoreFilePath).string();
    }

    std::vector<std::string> OutLines() const
    {
        std::istringstream lines(out);
        std::vector<std::string> all;
        for (std::string line; std::getline(lines, line);)
            all.push_back(line);
        return all;
    }
};

TEST_F(ToolTest, PrintsHeaderRecordsAndPeaks)
{
    MtgImage f(0, 0, 2, 250, 24);
    f.OnlineTag(1, "Incomer, north", 1, 22);
    Put16(f.bytes, f.Tag(1) + 98, 1);
    f.OnlineTag(2, "Sum", 3, 0);
    f.OnlineTag(3, "Gas", 1, 25);
    settings.headertext.replace(0, 4, "Mill");
    const std::string store = MakeStore(f, MakeDateTime(2024, 2, 29, 22, 10, 0));
    values[1].Integrated = 2.5F;
    HalfHourSave(c, MakeDateTime(2024, 2, 29, 23, 0, 10));

    ASSERT_EQ(Run("vt-store", "info " + Quoted(store)), 0) << err;
    for (const char* line : {"Header text:       Mill\n", "Periods per day:   24\n", "Tags saved:        196\n",
                             "  3  Gas", "From Log File", "  2  Sum                            1     3  Display "})
        EXPECT_NE(out.find(line), std::string::npos) << line << "\n" << out;
    EXPECT_EQ(out.find("\n  4  "), std::string::npos) << "a blank off-line slot is not listed\n" << out;
    EXPECT_EQ(out.find('\0'), std::string::npos);

    ASSERT_EQ(Run("vt-store", "records " + Quoted(store)), 0) << err;
    const std::vector<std::string> all = OutLines();
    ASSERT_EQ(all.size(), 1u + 29 * 24) << "a header line and 29 days of February 2024";
    EXPECT_EQ(all[0], "date,period,end,flag,\"Incomer, north\",Sum,Gas");
    EXPECT_EQ(all[24], "2024-02-01,24,2024-02-02 00:00,,,,");
    EXPECT_EQ(all[28 * 24 + 23], "2024-02-29,23,2024-02-29 23:00,0,2.5,0,0");
    EXPECT_EQ(all[29 * 24], "2024-02-29,24,2024-03-01 00:00,,,,");

    ASSERT_EQ(Run("vt-store", "peaks 'C:\\Telvane\\Job1\\Setup\\VoltarisSetup.ini'"), 0) << err;
    EXPECT_NE(out.find("   1  2.5             Feb 29, 24. 23:00\n"), std::string::npos) << out;
    EXPECT_NE(out.find("  24  0               0\n"), std::string::npos) << out;
    EXPECT_EQ(err, "");
    // Section names match without regard to case, after remarks and blank lines, with the line ends
    // and byte-order mark the monitor's reader takes.
    for (const char* text : {"; kept by the monitor\r\n\r\n  [PEAKS]\r\n1PeakValue=12.5\r\n1PeakTime=Mar 05, 24. 10:00\r\n",
                             "\xEF\xBB\xBF[Peaks]\n1PeakValue=12.5\n1PeakTime=Mar 05, 24. 10:00\n",
                             "; kept by the monitor\r\r[other]\r[Peaks]\r1PeakValue=12.5\r1PeakTime=Mar 05, 24. 10:00\r"}) {
        WriteBytes(root / "peaks.ini", text);
        ASSERT_EQ(Run("vt-store", "peaks " + Quoted(root / "peaks.ini")), 0) << err;
        EXPECT_NE(out.find("   1  12.5            Mar 05, 24. 10:00\n"), std::string::npos) << out;
    }
    WriteBytes(root / "empty.ini", "[general]\r\n");
    ASSERT_EQ(Run("vt-store", "peaks " + Quoted(root / "empty.ini")), 0);
    EXPECT_NE(err.find("has no peaks yet"), std::string::npos) << err;
}

// Never saved: empty cells, not zeros; saved zeros keep their flag and values.
TEST_F(ToolTest, RecordsTellNeverSavedPeriodsFromSavedZeros)
{
    MtgImage f(0, 0, 0, 250, 48);
    f.OnlineTag(1, "Feeder", 1, 24);
    f.OnlineTag(2, "Boiler", 1, 24);
    const std::string store = MakeStore(f, MakeDateTime(2024, 12, 31, 20, 0, 0));
    {
        StoreFile file;
        ASSERT_FALSE(file.Open(store).Failed());
        const StoreLayout layout = file.ReadLayout().Value;
        const int32_t lastDay = 30 * 48;
        // Saved zeros with the valid flag; a first period after start-up that measured nothing on
        // the shown tags but holds a value in an off-line tag's slot; the year's last period.
        ASSERT_FALSE(file.WriteRecord(layout, lastDay + 40, 1, std::vector<float>{0, 0, 0}).Failed());
        ASSERT_FALSE(file.WriteRecord(layout, lastDay + 41, 0, std::vector<float>{0, 0, 7}).Failed());
        ASSERT_FALSE(file.WriteRecord(layout, lastDay + 47, 1, std::vector<float>{-1.5F, 0, 0}).Failed());
        ASSERT_FALSE(file.WriteRecord(layout, 0, 0, std::vector<float>{0, 0.25F, 0}).Failed());
    }
    ASSERT_EQ(Run("vt-store", "records " + Quoted(store)), 0) << err;
    const std::vector<std::string> all = OutLines();
    ASSERT_EQ(all.size(), 1u + 31 * 48);
    EXPECT_EQ(all[2], "2024-12-01,2,2024-12-01 01:00,,,");
    EXPECT_EQ(all[30 * 48 + 43], "2024-12-31,43,2024-12-31 21:30,,,");

    const std::string saved = "date,period,end,flag,Feeder,Boiler\n"
                              "2024-12-01,1,2024-12-01 00:30,0,0,0.25\n"
                              "2024-12-31,41,2024-12-31 20:30,1,0,0\n"
                              "2024-12-31,42,2024-12-31 21:00,0,0,0\n"
                              "2024-12-31,48,2025-01-01 00:00,1,-1.5,0\n";
    ASSERT_EQ(Run("vt-store", "records --saved " + Quoted(store)), 0) << err;
    EXPECT_EQ(out, saved);
    // Options may come before the command too.
    ASSERT_EQ(Run("vt-store", "--saved records " + Quoted(store)), 0) << err;
    EXPECT_EQ(out, saved);

    // A copy under a name without its month counts days; day 31's last period ends on "day 32".
    fs::copy_file(store, root / "copy.lum");
    ASSERT_EQ(Run("vt-store", "records " + Quoted(root / "copy.lum")), 0) << err;
    EXPECT_NE(out.find("\nday 31,48,day 32 00:00,1,-1.5,0\n"), std::string::npos) << out.substr(out.size() - 200);
}

TEST_F(ToolTest, RefusesFilesItCannotRead)
{
    std::string header(4000, '\0');
    Put16(header, 60, 200);
    Put16(header, 66, 48);
    // A header the monitor would refuse: 12 slots less 2 less 10 centers leaves no tags.
    std::string noTags = header;
    Put16(noTags, 66, 96);
    Put16(noTags, 60, 12);
    Put16(noTags, 74, 10);
    const int64_t tagDataStart = TagDataStart(0, 0, 10, 12);
    Put32(noTags, 105, tagDataStart);
    Put32(noTags, 109, tagDataStart + 12 * (8 + 12 * 96 + 48 + 96));
    // A damaged header is refused as start-up refuses it, whatever its positions say.
    std::string damaged = noTags;
    Put16(damaged, 60, 32767);
    struct Case {
        const char* command;
        std::string content;
        const char* message;
    };
    const Case cases[] = {
        {"info", std::string(150, 'x'), "is not a store file: it is 150 bytes long"},
        {"records", header, "is not a store file: tag data start is 0, the dimensions give"},
        {"records", noTags, "holds no tags: 12 tag slots less 2 less 10 centers"},
        {"records", damaged, "is not a store file: MaxTags is 32767, where 1 to 8191 tag slots can be held"},
        {"peaks", header, "is not a settings file: it holds binary bytes (a NUL at offset "},
        {"peaks", "date,period,end\r\n[general]\r\n", "is not a settings file: line 1 comes before any [section]"},
        {"peaks", "; just a remark\n\n", "is not a settings file: it holds no [section]"},
        {"peaks", "", "is not a settings file: it holds no [section]"},
        {"peaks", "; a tag setup description\n[Header]\nSetupVersion = 250\n[Tag 1]\n",
         "is not a settings file: it has neither a [general] nor a [Peaks] section"},
        {"peaks", "# not a remark to the monitor's reader\n[general]\n", "is not a settings file: line 1 comes before any [section]"},
        {"peaks", std::string(5 * 1024 * 1024, ' '), "is not a settings file: it is 5242880 bytes long"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        WriteBytes(root / "case.file", c.content);
        EXPECT_EQ(Run("vt-store", std::string(c.command) + " " + Quoted(root / "case.file")), 1);
        EXPECT_NE(err.find(c.message), std::string::npos) << err;
        EXPECT_EQ(out, "");
    }
    EXPECT_EQ(Run("vt-store", "info " + Quoted(root / "missing.lum")), 1);
    EXPECT_NE(err.find("cannot open"), std::string::npos) << err;
    EXPECT_EQ(Run("vt-store", "peaks " + Quoted(root / "missing.ini")), 1);
    EXPECT_NE(err.find("missing.ini: File not found"), std::string::npos) << err;
}

TEST_F(ToolTest, RefusedCommandLinesGiveTheReasonAndTheUsage)
{
    for (const std::string program : {"vt-mtg", "vt-store"}) {
        SCOPED_TRACE(program);
        const bool mtg = program == "vt-mtg";
        ASSERT_EQ(Run(program, "--help"), 0);
        const std::string usage = out;
        const std::pair<std::string, std::string> refused[] = {
            {"dump --frobnicate x", "unknown option '--frobnicate'"},
            {"info x --verbose=1", "unknown option '--verbose=1'"},
            {"", "give a command"},
            {"frobnicate x", "unknown command 'frobnicate'"},
            {"dump", mtg ? "'dump' takes one path" : "unknown command 'dump'"},
            {"info a b", mtg ? "unknown command 'info'" : "'info' takes one path"},
            {mtg ? "--force dump x" : "--saved info x", mtg ? "--force goes with 'build'" : "--saved goes with 'records'"},
        };
        for (const auto& [args, message] : refused) {
            EXPECT_EQ(Run(program, args), 2) << args;
            EXPECT_EQ(err, program + ": " + message + "\n" + usage) << args;
            EXPECT_EQ(out, "") << args;
        }
        // "--" ends the options: what follows is a path, however it looks.
        EXPECT_EQ(Run(program, mtg ? "dump -- --frobnicate" : "info -- --frobnicate"), 1);
        EXPECT_NE(err.find("--frobnicate"), std::string::npos) << err;
        EXPECT_EQ(err.find("unknown option"), std::string::npos) << err;
    }
}

TEST_F(ToolTest, MtgBuildAndDumpRoundTrip)
{
    const fs::path desc = fs::path(VT_TEST_SOURCE_DIR) / "unit" / "files" / "data" / "site.mtg.txt";
    const fs::path a = root / "a.MTG", b = root / "b.MTG", text = root / "a.txt", bad = root / "bad.txt";
    ASSERT_EQ(Run("vt-mtg", "build " + Quoted(desc) + " " + Quoted(a)), 0) << err;
    ASSERT_EQ(Run("vt-mtg", "dump " + Quoted(a)), 0) << err;
    WriteBytes(text, out);
    ASSERT_EQ(Run("vt-mtg", "build " + Quoted(text) + " " + Quoted(b)), 0) << err;
    EXPECT_EQ(ReadBytes(a), ReadBytes(b));
    EXPECT_EQ(ReadBytes(a), EncodeSetupFile(ReadSetupDescription(ReadBytes(desc)).Image).Value);

    // A file that is not a tag setup file, one that is not a description, one missing, a bad one.
    WriteBytes(bad, "[Header]\n[Tag 1]\nOnline = x\n");
    const std::string descSize = std::to_string(fs::file_size(desc));
    const std::pair<std::string, std::string> faults[] = {
        {"dump " + Quoted(desc), "is not a tag setup file: it is " + descSize + " bytes long; a tag setup file holds at least 114206"},
        {"build " + Quoted(a) + " " + Quoted(b), "is not a text description"},
        {"dump " + Quoted(root / "none.MTG"), "none.MTG: No such file or directory"},
        {"build " + Quoted(bad) + " " + Quoted(b), "line 3: 'x' is not a number (Online)"},
    };
    for (const auto& [args, message] : faults) {
        EXPECT_NE(Run("vt-mtg", args), 0) << message;
        EXPECT_NE(err.find(message), std::string::npos) << err;
    }
    EXPECT_EQ(ReadBytes(a), ReadBytes(b)) << "a failed build leaves the old file";
}

TEST_F(ToolTest, BuildRefusesSetupTheMonitorCannotUseUnlessForced)
{
    const fs::path desc = root / "site.vtm", mtg = root / "Site.MTG";
    WriteBytes(desc, "[Header]\nSetupVersion = 240\nPeriodsPerDay = 48\n\n"
                     "[Tag 1]\nOnline = 1\nTagType = 1\nScanType = 22\nHostTagNumber = 12\n\n"
                     "[Tag 2]\nOnline = 1\nTagType = 1\nScanType = 19\n");
    const std::string said = "vt-mtg: " + desc.string();
    const std::string expected =
        said + ": line 2: SetupVersion 240: the monitor loads version 250 and later only\n" + said +
        ": line 5: [Tag 1] ScanType 22 (Pulse - Scada Tag) reads the host tag numbered by PageNo, and PageNo is 0 (not "
        "given)\n" +
        said + ": line 14: [Tag 2] ScanType 19 is not a scan type the monitor knows\n";
    const std::string build = "build " + Quoted(desc) + " " + Quoted(mtg);
    EXPECT_EQ(Run("vt-mtg", build), 1);
    EXPECT_EQ(err, expected + "vt-mtg: " + mtg.string() +
                       " not written: the monitor cannot use this setup (--force builds it anyway)\n");
    EXPECT_FALSE(fs::exists(mtg.string() + ".new"));
    // An existing file is left as it was.
    WriteBytes(mtg, "old");
    EXPECT_EQ(Run("vt-mtg", build), 1);
    EXPECT_EQ(ReadBytes(mtg), "old");

    // Forced, the same problems are told and the file is built, with the values as given.
    EXPECT_EQ(Run("vt-mtg", "build --force " + Quoted(desc) + " " + Quoted(mtg)), 0);
    EXPECT_EQ(err, expected);
    const std::string built = ReadBytes(mtg);
    ASSERT_EQ(built.size(), 112196u + 67 * 30);
    EXPECT_EQ(Get16(built, 0), 240);
}

} // namespace
