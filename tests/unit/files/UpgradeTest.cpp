#include "FilesTestSupport.h"
#include "files/clsVoltarisUpgrade.h"
#include "support/Profile.h"

using namespace filestest;

namespace {

class TestHost : public UpgradeHost {
public:
    std::string JobSetupFolder() const override { return "C:\\Telvane\\Job1\\Setup"; }
    std::string TelvaneFolder() const override { return "C:\\Telvane"; }
    bool V4() const override { return v4; }
    bool v4 = true;
};

class UpgradeTest : public TempPrefixTest {
protected:
    void SetUp() override
    {
        TempPrefixTest::SetUp();
        fs::create_directories(SetupDir());
        fs::create_directories(Windows());
    }
    fs::path SetupDir() const { return drive / "Telvane" / "Job1" / "Setup"; }
    fs::path Windows() const { return root / "prefix" / "windows"; }
    fs::path BackupList() const { return drive / "Telvane" / "VbBackup.txt"; }
    fs::path Ini() const { return SetupDir() / "VoltarisSetup.ini"; }
    static constexpr const char* IniText = "C:\\Telvane\\Job1\\Setup\\VoltarisSetup.ini";
    std::string Setting(const char* section, const char* key) const
    {
        return GetPrivateProfileString(section, key, "<none>", 256, IniText);
    }
    void Run() { clsVoltarisUpgrade(&host).Update(); }

    TestHost host;
};

TEST_F(UpgradeTest, OldSettingsFileMovesOnceAndLosesObsoleteSections)
{
    WriteBytes(Windows() / "Voltaris.ini",
               "[passwords]\r\na=1\r\n[general]\r\nScanSeconds=10\r\n[ControllerPassword]\r\nb=2\r\n"
               "[ControllerSetupPassword]\r\nc=3\r\n");
    Run();
    EXPECT_FALSE(fs::exists(Windows() / "Voltaris.ini"));
    ASSERT_TRUE(fs::exists(Ini()));
    EXPECT_EQ(Setting("general", "ScanSeconds"), "10");
    for (auto [section, key] : {std::pair{"passwords", "a"}, {"ControllerPassword", "b"}, {"ControllerSetupPassword", "c"}})
        EXPECT_EQ(Setting(section, key), "<none>") << section;
    EXPECT_EQ(ReadBytes(BackupList()), "C:\\Telvane\\Job1\\Setup\\VoltarisSetup.ini\r\n");

    // A second start leaves a later old file alone, but the sections go again.
    WriteBytes(Windows() / "Voltaris.ini", "[general]\r\nScanSeconds=30\r\n");
    WritePrivateProfileString("passwords", "a", "1", IniText);
    Run();
    EXPECT_TRUE(fs::exists(Windows() / "Voltaris.ini"));
    EXPECT_EQ(Setting("general", "ScanSeconds"), "10");
    EXPECT_EQ(Setting("passwords", "a"), "<none>");
}

TEST_F(UpgradeTest, SettingsCandidatesInOrder)
{
    WriteBytes(SetupDir() / "VOLTAS~1.INI", "[general]\r\nfrom=alias\r\n");
    WriteBytes(SetupDir() / "Voltaris.ini", "[general]\r\nfrom=setup\r\n");
    WriteBytes(Windows() / "Voltaris.ini", "[general]\r\nfrom=windows\r\n");
    Run();
    EXPECT_EQ(Setting("general", "from"), "alias");
    fs::remove(Ini());
    Run();
    EXPECT_EQ(Setting("general", "from"), "setup");
    EXPECT_TRUE(fs::exists(Windows() / "Voltaris.ini"));
}

TEST_F(UpgradeTest, TagFileNamingTheCurrentFileMovesNothing)
{
    WriteBytes(Ini(), "[TagSetup]\r\nTagFile=c:\\telvane\\job1\\setup\\VOLTARISMONITOR.MTG\r\n");
    WriteBytes(SetupDir() / "VoltarisMonitor.mtg", "current");
    Run();
    EXPECT_EQ(ReadBytes(SetupDir() / "VoltarisMonitor.mtg"), "current");
    EXPECT_EQ(Setting("TagSetup", "TagFile"), "c:\\telvane\\job1\\setup\\VOLTARISMONITOR.MTG");
    EXPECT_FALSE(fs::exists(BackupList()));
}

TEST_F(UpgradeTest, OldTagFileElsewhereReplacesTheCurrentOne)
{
    WriteBytes(Ini(), "[TagSetup]\r\nTagFile=D:\\Old\\Site.MTG\r\n");
    WriteBytes(root / "prefix" / "drives" / "d" / "Old" / "Site.MTG", "old setup");
    WriteBytes(SetupDir() / "VoltarisMonitor.mtg", "current");
    Run();
    EXPECT_EQ(ReadBytes(SetupDir() / "VoltarisMonitor.mtg"), "old setup");
    EXPECT_FALSE(fs::exists(root / "prefix" / "drives" / "d" / "Old" / "Site.MTG"));
    EXPECT_EQ(Setting("TagSetup", "TagFile"), "C:\\Telvane\\Job1\\Setup\\VoltarisMonitor.mtg");
    EXPECT_EQ(ReadBytes(BackupList()), "C:\\Telvane\\Job1\\Setup\\VoltarisMonitor.mtg\r\n");

    // The old name gone, a file of that name beside the current one is the next candidate.
    WriteBytes(SetupDir() / "Site.MTG", "beside");
    WritePrivateProfileString("TagSetup", "TagFile", "D:\\Old\\Site.MTG", IniText);
    Run();
    EXPECT_EQ(ReadBytes(SetupDir() / "VoltarisMonitor.mtg"), "beside");
}

TEST_F(UpgradeTest, ControllerAndTargetFiles)
{
    WriteBytes(Ini(), "[general]\r\n");
    WriteBytes(SetupDir() / "VOLTAC~1.SET", "controller");
    WriteBytes(drive / "Telvane" / "vtTarget.dat", "target");
    Run();
    EXPECT_EQ(ReadBytes(SetupDir() / "VoltarisControl.set"), "controller");
    EXPECT_EQ(Setting("Controller", "SetupFile"), "C:\\Telvane\\Job1\\Setup\\VoltarisControl.set");
    EXPECT_EQ(ReadBytes(SetupDir() / "VoltarisTarget.dat"), "target");
    EXPECT_FALSE(fs::exists(drive / "Telvane" / "vtTarget.dat"));
    // Lines already in the list are kept in lower case.
    EXPECT_EQ(ReadBytes(BackupList()),
              "c:\\telvane\\job1\\setup\\voltariscontrol.set\r\nC:\\Telvane\\Job1\\Setup\\VoltarisTarget.dat\r\n");
}

TEST_F(UpgradeTest, BackupListOnlyForAGeneration4Host)
{
    host.v4 = false;
    WriteBytes(BackupList(), "C:\\Missing.txt\r\n");
    WriteBytes(Windows() / "Voltaris.ini", "[general]\r\n");
    WriteBytes(SetupDir() / "VOLTAM~1.MTG", "alias");
    Run();
    EXPECT_TRUE(fs::exists(Ini()));
    EXPECT_EQ(ReadBytes(SetupDir() / "VoltarisMonitor.mtg"), "alias");
    EXPECT_EQ(ReadBytes(BackupList()), "C:\\Missing.txt\r\n");
}

TEST_F(UpgradeTest, BackupListKeepsExistingFilesAndReplacesTheSameName)
{
    WriteBytes(drive / "Data" / "Keep.DAT", "x");
    WriteBytes(BackupList(),
               "C:\\Gone\\Missing.txt\r\n"
               "C:\\Data\\Keep.DAT\r\n"
               "C:\\Elsewhere\\VOLTARISMONITOR.MTG\r\n"
               "\r\n");
    WriteBytes(SetupDir() / "VOLTAM~1.MTG", "alias");
    Run();
    EXPECT_EQ(ReadBytes(BackupList()), "c:\\data\\keep.dat\r\nC:\\Telvane\\Job1\\Setup\\VoltarisMonitor.mtg\r\n");
}

} // namespace
