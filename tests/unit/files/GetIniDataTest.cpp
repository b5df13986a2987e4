#include "FilesTestSupport.h"
#include "files/MonitorSettings.h"

using namespace filestest;

namespace {

class GetIniDataTest : public StoreTest {
protected:
    fs::path IniPath() const { return SetupFolder() / "VoltarisSetup.ini"; }
    void SetUp() override { fs::create_directories(DataFolder()); }
    void WriteIni(const std::string& general, const std::string& rest = "")
    {
        WriteBytes(IniPath(), "[general]\r\n" + general + rest);
    }
    void Read()
    {
        GetIniData("C:\\Telvane\\Job1\\Setup\\VoltarisSetup.ini", settings, clockSync, watchdog, host, view,
                   MakeDateTime(2024, 3, 5, 12, 0, 0));
    }

    clsClockSync clockSync;
    clsWatchdog watchdog;
};

TEST_F(GetIniDataTest, NoFileGivesEveryDefaultAndWritesNothing)
{
    Read();
    EXPECT_EQ(view.waitMessages, std::vector<std::string>{"Getting INI Data"});
    EXPECT_EQ(settings.DiagFile, std::string("c:\\lumdiag.txt") + std::string(80 - 14, '\0'));
    EXPECT_EQ(settings.errorlog, "off");
    EXPECT_EQ(settings.StoreFilePrefix, "Vtrs");
    EXPECT_EQ(settings.StoreFilePath, "C:\\Telvane\\Job1\\Data\\Voltaris\\Vtrs2403.lum");
    EXPECT_TRUE(fs::is_directory(DataFolder() / "Voltaris"));
    EXPECT_FALSE(view.viewLog);
    EXPECT_EQ(settings.headertext, std::string(50, '\0'));
    EXPECT_EQ(settings.SCADArun, "yes");
    EXPECT_EQ(settings.BackupDir, "");
    // ScanLogging, currencychr, ScanSeconds, AverageScans, Demo, ShedMeter, UnShedMeter, then the
    // clock sync's offset and input tag and the watchdog's seconds and output tag.
    EXPECT_EQ(std::vector<int>({settings.ScanLogging, settings.currencychr, settings.ScanSeconds, settings.AverageScans,
                                settings.Demo, settings.ShedMeter, settings.UnShedMeter, clockSync.Offset(),
                                clockSync.InputTag(), watchdog.ToggleSecs(), watchdog.OutputTag()}),
              std::vector<int>({0, 36, 30, 5, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_FALSE(fs::exists(IniPath()));
    EXPECT_EQ(LogLines(), 0);
}

TEST_F(GetIniDataTest, ScanIntervalIsLimitedAndWrittenBack)
{
    struct Case {
        const char* value;
        int expected;
        bool rewritten;
    };
    const Case cases[] = {{"2", 5, true}, {"61", 60, true}, {"5", 5, false}, {"60", 60, false}, {"abc", 5, true}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.value);
        WriteIni(std::string("timer1scan=") + c.value + "\r\n");
        const std::string before = ReadBytes(IniPath());
        Read();
        EXPECT_EQ(settings.ScanSeconds, c.expected);
        const std::string after = ReadBytes(IniPath());
        if (c.rewritten) {
            EXPECT_NE(after.find("timer1scan=" + std::to_string(c.expected)), std::string::npos) << after;
        } else {
            EXPECT_EQ(after, before);
        }
    }
}

// Texts are read through fixed buffers: cut to them, and the shorter of two reads ends at a NUL
// with the field's earlier content after it.
TEST_F(GetIniDataTest, TextsAreCutToTheirBuffersAndCleaned)
{
    WriteIni("errorlog=Yes\r\nSCADArun=YES\r\nheadertext=" + std::string(60, 'H') + "\r\nDiagFile=" +
             std::string(100, 'd') + "\r\nStoreFilePrefix=" + std::string(90, 'p') + "\r\n");
    Read();
    EXPECT_EQ(settings.errorlog, "Yes");
    EXPECT_EQ(settings.SCADArun, "YES");
    EXPECT_EQ(settings.headertext, std::string(50, 'H'));
    EXPECT_EQ(settings.DiagFile, std::string(79, 'd') + std::string(1, '\0'));
    EXPECT_EQ(settings.StoreFilePrefix, std::string(79, 'p'));

    WriteIni("errorlog=yes please\r\nSCADArun=no\r\nheadertext=Plant\r\nStoreFilePrefix=  Site\\A \r\n");
    Read();
    EXPECT_EQ(settings.errorlog, "yes") << "only the first three characters are kept";
    EXPECT_EQ(settings.SCADArun.substr(0, 3), std::string("no\0", 3));
    EXPECT_EQ(settings.headertext.substr(0, 6), std::string("Plant\0", 6));
    EXPECT_EQ(settings.headertext.size(), 50u);
    EXPECT_EQ(settings.StoreFilePrefix, "Site-A");
    EXPECT_EQ(settings.StoreFilePath, "C:\\Telvane\\Job1\\Data\\Voltaris\\Site-A2403.lum");
    WriteIni("StoreFilePrefix=\r\n");
    Read();
    EXPECT_EQ(settings.StoreFilePrefix, "Voltaris");
}

TEST_F(GetIniDataTest, NumbersAreRoundedHalvesToEven)
{
    WriteIni("AverageScans=2.5\r\nShedMeter= 7.5 \r\nUnShedMeter=abc\r\nDemo=3\r\ncurrencychr=163\r\n",
             "[Monitor_PC_Clock_Sync]\r\nOffset=500\r\nInputTag=12.5\r\n"
             "[Monitor_WatchDog]\r\nSeconds=-4\r\nOutputTag=2005\r\n");
    Read();
    // AverageScans, ShedMeter, UnShedMeter, Demo, currencychr, then clock sync and watchdog.
    EXPECT_EQ(std::vector<int>({settings.AverageScans, settings.ShedMeter, settings.UnShedMeter, settings.Demo,
                                settings.currencychr, clockSync.Offset(), clockSync.InputTag(), watchdog.ToggleSecs(),
                                watchdog.OutputTag()}),
              std::vector<int>({2, 8, 0, 3, 163, 120, 12, 0, 2005}));

    // Cut to 9 characters, "2.500000001" is "2.5000000", which rounds to even; the whole would give 3.
    WriteIni("AverageScans=3.5\r\nShedMeter=99999\r\nUnShedMeter=2.500000001\r\n");
    settings.ShedMeter = 4;
    Read();
    EXPECT_EQ(settings.AverageScans, 4);
    EXPECT_EQ(settings.UnShedMeter, 2);
    EXPECT_EQ(settings.ShedMeter, 4) << "an overflowing value leaves the setting";
    EXPECT_EQ(LogLinesWith("GetIniData, Error 6/ Overflow"), 1);
}

TEST_F(GetIniDataTest, ScanLoggingAndBackupFolder)
{
    fs::create_directories(root / "prefix" / "drives" / "d" / "Backups");
    WriteIni("LogScans=1\r\nBackupDir= D:\\BACKUPS \r\n");
    Read();
    EXPECT_EQ(settings.ScanLogging, 1);
    EXPECT_TRUE(view.viewLog);
    EXPECT_EQ(settings.BackupDir, "D:\\BACKUPS");

    WriteIni("LogScans=2\r\nBackupDir=D:\\Gone\r\n");
    Read();
    EXPECT_EQ(settings.ScanLogging, 0);
    EXPECT_FALSE(view.viewLog);
    EXPECT_EQ(settings.BackupDir, "");

    WriteIni("LogScans=on\r\n");
    Read();
    EXPECT_EQ(settings.ScanLogging, 0);
    EXPECT_EQ(LogLinesWith("GetIniData, Error 13/ Type mismatch"), 1);
}

TEST_F(GetIniDataTest, MissingJobDataFolderIsReported)
{
    host.data = "C:\\NoSuchJob\\Data";
    Read();
    EXPECT_EQ(settings.StoreFilePath, "C:\\NoSuchJob\\Data\\Voltaris\\Vtrs2403.lum");
    EXPECT_EQ(LogLinesWith("GetIniData, Error 76/ Path not found"), 1);
    EXPECT_FALSE(fs::exists(drive / "NoSuchJob"));
}

} // namespace
