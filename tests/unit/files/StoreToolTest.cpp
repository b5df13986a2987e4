#include <algorithm>
#include <cstdlib>

#include "FilesTestSupport.h"
#include "files/HalfHourSave.h"
#include "files/StartUpFileInfo.h"
#include "files/StoreFile.h"
#include "files/StoreFileName.h"
#include "platform/DateSerial.h"

using namespace filestest;

namespace {

class StoreToolTest : public TempPrefixTest {
protected:
    void SetUp() override
    {
        TempPrefixTest::SetUp();
        const char* bin = std::getenv("VT_BIN_DIR");
        if (!bin || !fs::exists(fs::path(bin) / "vt-store"))
            GTEST_SKIP() << "vt-store not built beside the tests";
        tool = (fs::path(bin) / "vt-store").string();
    }

    // Runs the tool; gives its exit status and fills out / err.
    int Run(const std::string& args)
    {
        const int status = std::system((tool + " " + args + " > '" + (root / "out").string() + "' 2> '" +
                                        (root / "err").string() + "'").c_str());
        out = ReadBytes(root / "out");
        err = ReadBytes(root / "err");
        return status;
    }

    // A store file of the month of start, made by the monitor's start-up with tags 1 (online,
    // in total), 2 (online) and 3 (off line); gives its local path.
    std::string MakeStore(const DateTime start, int periodsPerDay)
    {
        MtgImage f(0, 0, 0, 250, periodsPerDay);
        f.OnlineTag(1, "Feeder", 1, 24);
        f.OnlineTag(2, "Boiler", 1, 24);
        WriteBytes(root / "prefix" / "drives" / "c" / "Setup" / "Site.MTG", f.bytes);
        fs::create_directories(root / "prefix" / "drives" / "c" / "Data");
        SetupData setup;
        TagValues values;
        MonitorSettings settings;
        MonitorState state;
        FixedHost host;
        host.data = "C:\\Data";
        RecordingView view;
        state.SetupMtgFile = "C:\\Setup\\Site.MTG";
        state.SetupIniFile = "C:\\Setup\\VoltarisSetup.ini";
        state.StartingUp = 0;
        settings.StoreFilePrefix = "Site";
        settings.StoreFilePath = GetStoreFileName(host.data, "Site", start).Value;
        StoreContext c{setup, values, settings, state, host, view};
        EXPECT_EQ(StartUpFileInfo(c, start), SetupLoadResult::Loaded);
        return LocalPath(settings.StoreFilePath).string();
    }

    std::string tool, out, err;
};

TEST_F(StoreToolTest, PrintsHeaderRecordsAndPeaks)
{
    MtgImage f(0, 0, 2, 250, 24);
    f.OnlineTag(1, "Incomer, north", 1, 22);
    Put16(f.bytes, f.Tag(1) + 98, 1);
    f.OnlineTag(2, "Sum", 3, 0);
    f.OnlineTag(3, "Gas", 1, 25);
    WriteBytes(root / "prefix" / "drives" / "c" / "Setup" / "Site.MTG", f.bytes);
    fs::create_directories(root / "prefix" / "drives" / "c" / "Data");

    SetupData setup;
    TagValues values;
    MonitorSettings settings;
    MonitorState state;
    FixedHost host;
    host.data = "C:\\Data";
    RecordingView view;
    state.SetupMtgFile = "C:\\Setup\\Site.MTG";
    state.SetupIniFile = "C:\\Setup\\VoltarisSetup.ini";
    state.StartingUp = 0;
    settings.StoreFilePrefix = "Site";
    settings.headertext.replace(0, 4, "Mill");
    const DateTime start = MakeDateTime(2024, 2, 29, 22, 10, 0);
    settings.StoreFilePath = GetStoreFileName(host.data, "Site", start).Value;
    StoreContext c{setup, values, settings, state, host, view};
    ASSERT_EQ(StartUpFileInfo(c, start), SetupLoadResult::Loaded);
    values[1].Integrated = 2.5F;
    HalfHourSave(c, MakeDateTime(2024, 2, 29, 23, 0, 10));

    const std::string store = (root / "prefix" / "drives" / "c" / "Data" / "Voltaris" / "Site2402.lum").string();
    ASSERT_EQ(Run("info '" + store + "'"), 0) << err;
    EXPECT_NE(out.find("Header text:       Mill\n"), std::string::npos) << out;
    EXPECT_NE(out.find("Periods per day:   24\n"), std::string::npos) << out;
    EXPECT_NE(out.find("Tags saved:        196\n"), std::string::npos) << out;
    EXPECT_NE(out.find("  3  Gas"), std::string::npos) << out;
    EXPECT_NE(out.find("From Log File"), std::string::npos) << out;
    EXPECT_NE(out.find("  2  Sum                            1     3  Display "), std::string::npos) << out;
    EXPECT_EQ(out.find("\n  4  "), std::string::npos) << "a blank off-line slot is not listed\n" << out;
    EXPECT_EQ(out.find('\0'), std::string::npos);

    ASSERT_EQ(Run("records '" + store + "'"), 0) << err;
    std::istringstream lines(out);
    std::string line;
    std::vector<std::string> all;
    while (std::getline(lines, line))
        all.push_back(line);
    ASSERT_EQ(all.size(), 1u + 29 * 24) << "a header line and 29 days of February 2024";
    EXPECT_EQ(all[0], "date,period,end,flag,\"Incomer, north\",Sum,Gas");
    // Never saved: empty cells, not zeros. The day's last period ends at 00:00 of the next day.
    EXPECT_EQ(all[1], "2024-02-01,1,2024-02-01 01:00,,,,");
    EXPECT_EQ(all[24], "2024-02-01,24,2024-02-02 00:00,,,,");
    EXPECT_EQ(all[28 * 24 + 23], "2024-02-29,23,2024-02-29 23:00,0,2.5,0,0");
    EXPECT_EQ(all[29 * 24], "2024-02-29,24,2024-03-01 00:00,,,,");

    ASSERT_EQ(Run("records --saved '" + store + "'"), 0) << err;
    EXPECT_EQ(out, "date,period,end,flag,\"Incomer, north\",Sum,Gas\n2024-02-29,23,2024-02-29 23:00,0,2.5,0,0\n");

    ASSERT_EQ(Run("peaks 'C:\\Setup\\VoltarisSetup.ini'"), 0) << err;
    EXPECT_NE(out.find("   1  2.5             Feb 29, 24. 23:00\n"), std::string::npos) << out;
    EXPECT_NE(out.find("  24  0               0\n"), std::string::npos) << out;
    EXPECT_EQ(err, "");
    WriteBytes(root / "empty.ini", "[general]\r\n");
    ASSERT_EQ(Run("peaks '" + (root / "empty.ini").string() + "'"), 0);
    EXPECT_NE(err.find("has no peaks yet"), std::string::npos) << err;
}

TEST_F(StoreToolTest, RecordsTellNeverSavedPeriodsFromSavedZeros)
{
    const std::string store = MakeStore(MakeDateTime(2024, 12, 31, 20, 0, 0), 48);
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
    ASSERT_EQ(Run("records '" + store + "'"), 0) << err;
    std::istringstream lines(out);
    std::vector<std::string> all;
    for (std::string line; std::getline(lines, line);)
        all.push_back(line);
    ASSERT_EQ(all.size(), 1u + 31 * 48);
    EXPECT_EQ(all[0], "date,period,end,flag,Feeder,Boiler");
    EXPECT_EQ(all[1], "2024-12-01,1,2024-12-01 00:30,0,0,0.25");
    EXPECT_EQ(all[2], "2024-12-01,2,2024-12-01 01:00,,,");
    EXPECT_EQ(all[48], "2024-12-01,48,2024-12-02 00:00,,,");
    EXPECT_EQ(all[30 * 48 + 41], "2024-12-31,41,2024-12-31 20:30,1,0,0");
    EXPECT_EQ(all[30 * 48 + 42], "2024-12-31,42,2024-12-31 21:00,0,0,0");
    EXPECT_EQ(all[30 * 48 + 43], "2024-12-31,43,2024-12-31 21:30,,,");
    EXPECT_EQ(all[30 * 48 + 48], "2024-12-31,48,2025-01-01 00:00,1,-1.5,0");

    ASSERT_EQ(Run("records --saved '" + store + "'"), 0) << err;
    EXPECT_EQ(out, "date,period,end,flag,Feeder,Boiler\n"
                   "2024-12-01,1,2024-12-01 00:30,0,0,0.25\n"
                   "2024-12-31,41,2024-12-31 20:30,1,0,0\n"
                   "2024-12-31,42,2024-12-31 21:00,0,0,0\n"
                   "2024-12-31,48,2025-01-01 00:00,1,-1.5,0\n");
    // Options may come before the command too.
    ASSERT_EQ(Run("--saved records '" + store + "'"), 0) << err;
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 5);

    // A copy under a name without its month counts days; day 31's last period ends on "day 32".
    fs::copy_file(store, root / "copy.lum");
    ASSERT_EQ(Run("records '" + (root / "copy.lum").string() + "'"), 0) << err;
    EXPECT_NE(out.find("\nday 31,48,day 32 00:00,1,-1.5,0\n"), std::string::npos) << out.substr(out.size() - 200);
}

TEST_F(StoreToolTest, PeaksRefusesWhatIsNotASettingsFile)
{
    const std::string store = MakeStore(MakeDateTime(2024, 3, 5, 10, 0, 0), 96);
    const std::pair<std::string, std::string> refused[] = {
        {store, "is not a settings file: it holds binary bytes (a NUL at offset "},
        {"date,period,end\r\n[general]\r\n", "is not a settings file: line 1 comes before any [section]"},
        {"; just a remark\n\n", "is not a settings file: it holds no [section]"},
        {"", "is not a settings file: it holds no [section]"},
        {"; a tag setup description\n[Header]\nSetupVersion = 250\n[Tag 1]\n",
         "is not a settings file: it has neither a [general] nor a [Peaks] section"},
        {"# not a remark to the monitor's reader\n[general]\n", "is not a settings file: line 1 comes before any [section]"},
        {std::string(5 * 1024 * 1024, ' '), "is not a settings file: it is 5242880 bytes long"},
    };
    int n = 0;
    for (const auto& [content, message] : refused) {
        const fs::path file = root / ("case" + std::to_string(++n) + ".ini");
        if (content == store)
            fs::copy_file(store, file);
        else
            WriteBytes(file, content);
        EXPECT_EQ(Run("peaks '" + file.string() + "'"), 1 << 8) << message;
        EXPECT_NE(err.find(message), std::string::npos) << err;
        EXPECT_EQ(out, "") << "nothing printed for a file that is not a settings file";
    }
    // Section names match without regard to case, after remarks and blank lines, with the line ends
    // and byte-order mark the monitor's reader takes.
    for (const char* text : {"; kept by the monitor\r\n\r\n  [PEAKS]\r\n1PeakValue=12.5\r\n1PeakTime=Mar 05, 24. 10:00\r\n",
                             "\xEF\xBB\xBF[Peaks]\n1PeakValue=12.5\n1PeakTime=Mar 05, 24. 10:00\n",
                             "; kept by the monitor\r\r[other]\r[Peaks]\r1PeakValue=12.5\r1PeakTime=Mar 05, 24. 10:00\r"}) {
        WriteBytes(root / "peaks.ini", text);
        ASSERT_EQ(Run("peaks '" + (root / "peaks.ini").string() + "'"), 0) << err;
        EXPECT_NE(out.find("   1  12.5            Mar 05, 24. 10:00\n"), std::string::npos) << out;
        EXPECT_EQ(err, "");
    }
}

TEST_F(StoreToolTest, RefusesFilesThatAreNotStoreFiles)
{
    WriteBytes(root / "short.lum", std::string(150, 'x'));
    EXPECT_NE(Run("info '" + (root / "short.lum").string() + "'"), 0);
    EXPECT_NE(err.find("is not a store file: it is 150 bytes long"), std::string::npos) << err;

    std::string header(4000, '\0');
    Put16(header, 60, 200);
    Put16(header, 66, 48);
    WriteBytes(root / "bad.lum", header);
    EXPECT_NE(Run("records '" + (root / "bad.lum").string() + "'"), 0);
    EXPECT_NE(err.find("is not a store file: tag data start is 0, the dimensions give"), std::string::npos) << err;

    // A header the monitor would refuse: 12 slots less 2 less 10 centers leaves no tags.
    Put16(header, 66, 96);
    Put16(header, 60, 12);
    Put16(header, 74, 10);
    const int64_t tagDataStart = 199 + 20 * 62 + 10 * 38 + 12 * 68 + 67 * 30 + 1;
    Put32(header, 105, tagDataStart);
    Put32(header, 109, tagDataStart + 12 * (8 + 12 * 96 + 48 + 96));
    WriteBytes(root / "notags.lum", header);
    EXPECT_NE(Run("records '" + (root / "notags.lum").string() + "'"), 0);
    EXPECT_NE(err.find("holds no tags: 12 tag slots less 2 less 10 centers"), std::string::npos) << err;

    EXPECT_NE(Run("info '" + (root / "missing.lum").string() + "'"), 0);
    EXPECT_NE(err.find("cannot open"), std::string::npos) << err;
    EXPECT_NE(Run("peaks '" + (root / "missing.ini").string() + "'"), 0);
    EXPECT_NE(err.find("missing.ini: File not found"), std::string::npos) << err;
}

} // namespace
