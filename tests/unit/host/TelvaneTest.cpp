// Finding the host: detection rules in their order, the libraries, the job folders and files,
// and the host watch. A plain V4 or V5 host run for real is in tests/e2e/host.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <filesystem>

#include "HostFixture.h"
#include "host/Telvane.h"
#include "platform/Files.h"
#include "platform/Programs.h"
#include "platform/WindowRegistry.h"
#include "support/Profile.h"

namespace {

bool InMemory(const std::string& library) {
    void* handle = ::dlopen(library.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) ::dlclose(handle);
    return handle != nullptr;
}

}  // namespace

TEST(TelvaneDetect, NoHostUsesTheMonitorsOwnFolder) {
    HostFixture f;
    Telvane t;
    EXPECT_EQ(t.TelvaneVersion(), "");
    EXPECT_FALSE(t.VAny());
    EXPECT_EQ(t.TelvaneFolder(), f.ProgramDir().string());
    EXPECT_EQ(t.JobSetupFolder(), f.ProgramDir().string());
    EXPECT_EQ(t.JobReportFolder(), f.ProgramDir().string() + "\\report");
    EXPECT_TRUE(std::filesystem::is_directory(f.ProgramDir() / "report"));
    EXPECT_TRUE(std::filesystem::is_directory(f.ProgramDir() / "temp"));
    EXPECT_FALSE(t.JobRun());
    EXPECT_FALSE(t.TelvnRun());
    EXPECT_FALSE(t.Hostpts32Loaded());
    EXPECT_EQ(t.JobAppSetupIniFile(), f.ProgramDir().string() + "\\" + ProgramName() + ".ini");
}

TEST(TelvaneDetect, RulesApplyInTheirOrder) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(4));
    WriteProfileString("TelvnV5", "directory", "C:\\Telvane");
    EXPECT_EQ(Telvane().TelvaneVersion(), "4.0") << "a V5 entry whose folder is missing";
    ASSERT_TRUE(f.Install(5));
    auto expect = [](const char* version, const char* folder, const char* why) {
        Telvane t;
        EXPECT_EQ(t.TelvaneVersion(), version) << why;
        if (folder != nullptr) {
            EXPECT_EQ(t.TelvaneFolder(), folder) << why;
        }
    };
    expect("5.0", "C:\\Telvane", "both installed: the V5 folder exists, so rule 6 beats rule 7");
    for (const char* windowClass : {"LoaderWClass", "SYSCON"}) {
        ASSERT_TRUE(RegisterWindow(windowClass, "", false));
        expect("4.0", "C:\\telvold", "rules 4 and 5 alone beat the folders");
        UnregisterAllWindows();
    }
    ASSERT_TRUE(RegisterWindow("SYSCON", "", false));
    ASSERT_TRUE(RegisterWindow("LoaderWClass", "", true));
    ASSERT_TRUE(RegisterWindow("TelvaneV5", "", true));
    expect("5.0", nullptr, "rule 3 (a TelvaneV5 window) beats rules 4 and 5");
    // Rule 2: the monitor installed inside the V4 folder wins over the TelvaneV5 window.
    ::setenv("VOLTARIS_PROGRAM_DIR", (f.PrefixDir() / "drives" / "c" / "TELVOLD").string().c_str(), 1);
    expect("4.0", nullptr, "rule 2 beats rule 3");
    WriteProfileString("TelvnV5", "directory", "c:\\TelVold");
    expect("5.0", nullptr, "rule 1 beats rule 2 when both candidates name the monitor's folder");
    WriteProfileString("TelvnV5", "directory", "C:\\nowhere");
    WriteProfileString("telvold", "directory", "C:\\nowhere");
    UnregisterAllWindows();
    expect("", nullptr, "no entry names a folder that exists");
}

TEST(TelvaneDetect, AMissingRecorderLibraryMakesBothGenerationTestsFalse) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(5, "", {"hostpts32.dll", "hostarc.dll", "hostcmd32.dll"}));
    f.State().SetJobRunning(1);
    Telvane t;
    EXPECT_EQ(t.TelvaneVersion(), "5.0");
    EXPECT_TRUE(t.Hostpts32Loaded());
    EXPECT_FALSE(t.V5() || t.V4() || t.VAny());
    EXPECT_EQ(t.Version(), "");
    EXPECT_FALSE(t.JobRun());
    // The job folders still come from the point library, but the point cursor has no range.
    EXPECT_EQ(t.JobDataFolder(), "C:\\Telvane\\Job1\\Data");
    t.IO.Index(1);
    EXPECT_EQ(t.IO.Index(), 0);
}

TEST(TelvaneJob, V5FoldersAndFilesComeFromThePointLibraryAndAreCreated) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(5));
    f.State().SetJobText(HostJobText::JobPath, "");
    Telvane t;
    EXPECT_EQ(t.JobFolder(), "C:\\Telvane\\Job1");
    EXPECT_EQ(t.JobReportFolder(), "C:\\Telvane\\Job1\\report");
    EXPECT_EQ(t.JobRootFolder(), "C:\\Telvane") << "an empty job path falls back to the host folder";
    EXPECT_EQ(t.TelvaneIniFile(), "C:\\Telvane\\Telvane.ini");
    EXPECT_EQ(t.JobWinIniFile(), "C:\\Telvane\\Job1\\Job.ini");
    EXPECT_EQ(t.SetupIniFile(), "C:\\Telvane\\setup.ini");
    for (const char* folder : {"C:\\Telvane\\Job1\\Data", "C:\\Telvane\\Job1\\Setup", "C:\\Telvane\\Job1\\report",
                               "C:\\Telvane\\Job1\\Temp"})
        EXPECT_TRUE(FolderExists(folder)) << folder;
    EXPECT_EQ(std::filesystem::current_path(), std::filesystem::weakly_canonical(f.Folder()));
}

TEST(TelvaneJob, V4FoldersComeFromTheWindowsProfile) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(4));
    WriteProfileString("telvold", "storedirectory", "  C:\\TELVOLD\\Store  ");
    WriteProfileString("telvold", "name1", " Plant A ");
    Telvane t;
    EXPECT_EQ(t.JobFolder(), "C:\\telvold");
    EXPECT_EQ(t.JobDataFolder(), "c:\\telvold\\store");
    EXPECT_TRUE(FolderExists("C:\\telvold\\store"));
    EXPECT_EQ(t.JobTempFolder(), "C:\\telvold\\temp");
    EXPECT_EQ(t.JobName(), "Plant A");
    EXPECT_EQ(t.TelvaneIniFile(), t.JobWinIniFile());
    EXPECT_EQ(t.TelvaneUserMode(), "V4 User Mode");
}

TEST(TelvaneJob, RecorderVersionRefreshAndLibraryRelease) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(5));
    std::string pointLibrary = (f.Folder() / "hostpts32.dll").string();
    {
        Telvane t;
        EXPECT_EQ(f.State().RecorderVersion(), 5);
        EXPECT_EQ(f.State().ReadInputModuleCount(), 1u);
        EXPECT_EQ(f.State().ReloadRecorderSetupCount(), 1u);
        t.RefreshData();
        EXPECT_EQ(f.State().ReadInputModuleCount(), 2u);
        EXPECT_TRUE(InMemory(pointLibrary));
    }
    EXPECT_FALSE(InMemory(pointLibrary)) << "released at the end";
}

TEST_F(V5Host, UserModeAndHostLog) {
    Telvane& t = *host;
    EXPECT_EQ(t.TelvaneUserMode(), "Single Job Mode");
    s.SetUserMode(7);
    EXPECT_EQ(t.TelvaneUserMode(), "");

    t.LogMessage("Voltamon123", std::string(70, 't'));
    std::string module, title;
    ASSERT_TRUE(s.LogEntry(s.LogCount(), module, title));
    EXPECT_EQ(module, "Voltamon12");
    EXPECT_EQ(title, std::string(60, 't'));
}

TEST(TelvaneJob, IniBackedMembers) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(5));
    HostFixture::WriteFile(f.Folder() / "Startup.ini", "[setup]\r\ninstallname=North Site\r\ninstallcomment=Boilers\r\n");
    HostFixture::WriteFile(LocalPath("C:\\Telvane\\Job1\\Job.ini"),
                           "[Setup.Manager]\r\nV4Mode=1\r\n[Image_interface32]\r\ninterfacenumber=7\r\n");
    Telvane t;
    EXPECT_EQ(t.InstallName(), "North Site");
    EXPECT_EQ(t.InstallComment(), "Boilers");
    EXPECT_TRUE(t.V4Mode());
    EXPECT_EQ(t.ImageInterfaceNumber(), 7);
    t.ImageInterfaceNumber(12);
    EXPECT_EQ(GetPrivateProfileString("Image_interface32", "interfacenumber", "", 256, "C:\\Telvane\\Job1\\Job.ini"), "12");
}

// The close request itself reaching a running host is in tests/e2e/host.
TEST_F(V5Host, CloseRequestAndTrayVisibilityFollowTheHostWindows) {
    Telvane& t = *host;
    EXPECT_FALSE(t.CancelFormUnLoads(true)) << "host window not open";
    ASSERT_TRUE(RegisterWindow("TelvaneV5", "Telvane", true));
    EXPECT_FALSE(t.CancelFormUnLoads(false));
    EXPECT_TRUE(t.CancelFormUnLoads(true)) << "asks even when no tray window takes the message";
    EXPECT_TRUE(t.TrayAppVisible(true, false));
    EXPECT_FALSE(t.TrayAppVisible(true, true)) << "no print server window";
    ASSERT_TRUE(RegisterWindow("Korvex32printserver", "", false));
    EXPECT_FALSE(t.TrayAppVisible(true, true));
    ASSERT_TRUE(SetWindowVisible("Korvex32printserver", true));
    EXPECT_TRUE(t.TrayAppVisible(true, true));
}

TEST_F(V4Host, V4UsesTheLoaderWindow) {
    Telvane& t = *host;
    ASSERT_TRUE(RegisterWindow("TelvaneV5", "", true));
    EXPECT_FALSE(t.TelvnRun()) << "a V4 host is watched through its loader only";
    EXPECT_FALSE(t.JobRun());
    ASSERT_TRUE(RegisterWindow("LoaderWClass", "", false));
    EXPECT_TRUE(t.JobRun());
    EXPECT_TRUE(t.TelvnRun());
    EXPECT_FALSE(t.TrayAppVisible(true, true)) << "loader hidden";
    ASSERT_TRUE(SetWindowVisible("LoaderWClass", true));
    EXPECT_TRUE(t.TrayAppVisible(true, true));
}

TEST(TelvaneJob, V4TagServiceStartsOnlyForAV4HostWithItsPointLibrary) {
    REQUIRE_LIBRARIES();
    for (int generation : {4, 5}) {
        HostFixture f;
        ASSERT_TRUE(f.Install(generation));
        std::filesystem::path marker = f.ProgramDir() / "tag-service-ran";
        HostFixture::WriteFile(f.Folder() / "hostsvc.exe", "#!/bin/sh\ntouch '" + marker.string() + "'\n");
        std::filesystem::permissions(f.Folder() / "hostsvc.exe", std::filesystem::perms::owner_all);
        Telvane t;
        int waits = generation == 4 ? 150 : 25;  // a started service shows up well within this
        for (int i = 0; i < waits && !std::filesystem::exists(marker); ++i) ::usleep(20000);
        EXPECT_EQ(std::filesystem::exists(marker), generation == 4) << generation;
    }
}
