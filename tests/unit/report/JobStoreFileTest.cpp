// The report program finds the job's store file and settings where the monitor keeps them.
#include <gtest/gtest.h>

#include "../host/HostFixture.h"
#include "files/MonitorSettings.h"
#include "host/Telvane.h"
#include "platform/Clock.h"
#include "support/Profile.h"
#include "report/job/JobStoreFile.h"

namespace {

class JobStoreFileTest : public ::testing::TestWithParam<int> {
protected:
    HostFixture host;
};

TEST_P(JobStoreFileTest, IsTheMonthsFileInTheJobDataFolderWithTheSettingsPrefixOrTheDefault)
{
    REQUIRE_LIBRARIES();
    ASSERT_TRUE(host.Install(GetParam()));
    if (GetParam() == 4)
        WriteProfileString("telvold", "storedirectory", "C:\\telvold\\Store");
    std::string dataFolder, setupFolder;
    {
        const Telvane telvane;
        dataFolder = telvane.JobDataFolder();
        setupFolder = telvane.JobSetupFolder();
    }
    ASSERT_FALSE(dataFolder.empty());
    // A prefix with a backslash and blanks, as the monitor tidies it.
    HostFixture::WriteFile(LocalPath(setupFolder + "\\VoltarisSetup.ini"),
                           "[general]\r\nStoreFilePrefix=  Mill\\North \r\n");
    ASSERT_FALSE(ClockSimulate(MakeDateTime(2027, 2, 28, 23, 50, 0), 1e-9).Failed());

    const JobFiles files = FindJobFiles(ClockNow());
    EXPECT_EQ(files.SettingsFile, setupFolder + "\\VoltarisSetup.ini");
    EXPECT_EQ(files.StoreFile, dataFolder + "\\Voltaris\\Mill-North2702.lum");
    EXPECT_EQ(ReadStoreFilePrefix(files.SettingsFile), "Mill-North");

    // Without a prefix setting, the monitor's default name.
    std::filesystem::remove(LocalPath(files.SettingsFile));
    EXPECT_EQ(PathFilePart(FindJobFiles(MakeDateTime(2026, 11, 1, 0, 0, 30)).StoreFile), "Vtrs2611.lum");
    ClockUseReal();
}

INSTANTIATE_TEST_SUITE_P(Generations, JobStoreFileTest, ::testing::Values(4, 5));

} // namespace
