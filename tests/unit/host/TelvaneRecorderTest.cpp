// Recorders, pages, relays and the list members: splits and references both ways, store files
// of a page, the batch header file, and the tag and line lists filled by the libraries.
#include <gtest/gtest.h>

#include <filesystem>
#include <utility>

#include "HostFixture.h"
#include "host/HostLibraries.h"
#include "host/Telvane.h"
#include "host/TelvaneRecAlarmRelays.h"
#include "host/TelvaneRecLine.h"
#include "host/TelvaneRecPage.h"
#include "host/TelvaneTagAlarmRelays.h"
#include "platform/Files.h"
#include "support/Profile.h"

TEST(TelvaneRecorder, NoHostSelectsNothingAndV4RecordersFollowTheCount) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    {
        Telvane none;
        TelvaneRecPage page(&none);
        page.Index(1);
        EXPECT_EQ(page.Index(), 0);
        none.Recorder.Index(1);
        EXPECT_EQ(none.Recorder.Index(), 0);
    }
    ASSERT_TRUE(f.Install(4));
    Telvane t;
    t.Recorder.Index(5);
    EXPECT_TRUE(t.Recorder.Enabled());
    f.State().SetRecorderCount(4);
    EXPECT_FALSE(t.Recorder.Enabled());
    t.Recorder.Index(6);
    EXPECT_EQ(t.Recorder.Index(), 0);
    t.Recorder.IndexReference("R3");
    EXPECT_EQ(t.Recorder.IndexReference(), "R3");
}

TEST_F(V4Host, PageSplitAndReferences) {
    TelvaneRecPage page(&*host);
    page.Index(23);
    EXPECT_EQ(std::make_pair(page.RecorderNumber(), page.PageNumber()), std::make_pair(3, 3));
    EXPECT_EQ(page.IndexReference(), "R3P3");
    page.IndexReference("[R5P10L7]");
    EXPECT_EQ(page.Index(), 50);
    for (const char* bad : {"R6P1", "R0P3", "P3", "R3P", "RP3", "", "R3P99999999999"}) {
        page.IndexReference(bad);
        EXPECT_EQ(page.Index(), 0) << bad;
    }
    s.SetPageLabel(22, std::string(50, 'p'));
    s.SetPageActive(22, true);
    s.SetPageParam(22, 2, 3.0f);
    page.Index(23);
    EXPECT_EQ(page.Name(), std::string(40, 'p'));
    EXPECT_TRUE(page.Enabled());
    EXPECT_FLOAT_EQ(page.OperatingMode(), 3.0f);
}

TEST_F(V5Host, PagesAreAllOnRecorder1AndFillAList) {
    TelvaneRecPage page(&*host);
    page.Index(100);
    EXPECT_EQ(page.IndexReference(), "R1P100");
    s.SetPageLabel(1, "Boilers");
    MemoryList list;
    page.SetListBox(list);
    ASSERT_EQ(list.ListCount(), 100);
    EXPECT_EQ(list.List(1), "[R1P2] Boilers");
    EXPECT_EQ(page.Index(), 100) << "filling the list keeps the cursor";
    page.ListReference("[R1P2]");
    EXPECT_EQ(list.ListIndex(), 1);
    EXPECT_EQ(page.ListReference(), "R1P2");
    page.ListReference("R1P101");
    EXPECT_EQ(page.ListReference(), "");
}

TEST_F(V5Host, PageStoreFilesFromTheMapSkipMissingFiles) {
    Telvane& t = *host;
    auto data = LocalPath(t.JobDataFolder());
    auto record = [](const std::string& name) { return name + std::string(256 - name.size(), '\0'); };
    HostFixture::WriteFile(data / "Page4.map",
                           record("D:\\old\\place\\A0611.dat") + record("C:\\x\\Gone.dat") + record("") + record("B0612.dat") +
                               "C0701.dat");  // a last record cut short still counts
    for (const char* name : {"A0611.dat", "B0612.dat", "C0701.dat"}) HostFixture::WriteFile(data / name, "x");
    TelvaneRecPage page(&t);
    page.Index(4);
    std::vector<std::string> expected = {t.JobDataFolder() + "\\A0611.dat", t.JobDataFolder() + "\\B0612.dat",
                                         t.JobDataFolder() + "\\C0701.dat"};
    EXPECT_EQ(page.StoreFiles(true), expected);
    EXPECT_EQ(page.StoreFiles(false), std::vector<std::string>{expected[0]});
    EXPECT_EQ(page.CurrentStoreFile(), expected[0]);
    page.Index(5);
    EXPECT_TRUE(page.StoreFiles(true).empty()) << "no map file";
}

TEST(TelvaneRecPage, V4StoreFilesFromRecordIni) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(4));
    WriteProfileString("telvold", "storedirectory", "C:\\telvold\\data");
    Telvane t;
    HostFixture::WriteFile(f.Folder() / "Record.ini",
                           "[Recorder 2 Page 3]\r\nfile0=C:\\a\\R23A.dat\r\nfile1=R23B.dat\r\nfile2=R23C.dat\r\nfile4=R23E.dat\r\n");
    auto data = LocalPath(t.JobDataFolder());
    for (const char* name : {"R23B.dat", "R23C.dat", "R23E.dat"}) HostFixture::WriteFile(data / name, "x");
    TelvaneRecPage page(&t);
    page.Index(13);
    std::vector<std::string> expected = {t.JobDataFolder() + "\\R23B.dat", t.JobDataFolder() + "\\R23C.dat"};
    EXPECT_EQ(page.StoreFiles(true), expected) << "stops at the first empty key";
    EXPECT_EQ(page.CurrentStoreFile(), "") << "only key 0, whose file is missing";
    HostFixture::WriteFile(data / "R23A.dat", "x");
    EXPECT_EQ(page.CurrentStoreFile(), t.JobDataFolder() + "\\R23A.dat");
}

TEST_F(V5Host, PageBatchHeaderFileIsChosenKeptAndReset) {
    Telvane& t = *host;
    TelvaneRecPage page(&t);
    page.Index(7);
    EXPECT_EQ(page.NextBatchName(), "");
    std::string recordIni = t.JobDataFolder() + "\\record.ini";
    std::string headerFile = t.JobTempFolder() + "\\BchP7.tmp";
    EXPECT_EQ(GetPrivateProfileString("Recorder 1 Page 7", "Header", "", 256, recordIni), headerFile);
    page.NextBatchName("Batch 12");
    page.NextBatchCode("B12");
    EXPECT_EQ(page.NextBatchName(), "Batch 12");
    EXPECT_EQ(GetPrivateProfileString("Header", "Code", "", 256, headerFile), "B12");

    // A header file named in record.ini is used where it is.
    std::string other = t.JobDataFolder() + "\\Hdr7.ini";
    HostFixture::WriteFile(LocalPath(other), "[Header]\r\nName=From host\r\n");
    WritePrivateProfileString("Recorder 1 Page 7", "Header", other.c_str(), recordIni);
    EXPECT_EQ(page.NextBatchName(), "From host");
    page.NextBatchReset();
    EXPECT_FALSE(FileExists(other));
    EXPECT_EQ(GetPrivateProfileString("Recorder 1 Page 7", "Header", "x", 256, recordIni), "");
}

TEST(TelvaneRecAlarmRelays, SplitsAndReferencesBothGenerations) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(4));
    {
        Telvane t;
        TelvaneRecAlarmRelays relay(&t);
        relay.Index(40);
        EXPECT_EQ(std::make_pair(relay.RecorderNumber(), relay.RecorderRelayNumber()), std::make_pair(2, 8));
        EXPECT_EQ(relay.IndexReference(), "R2RecAlarmRelay8");
        for (auto [reference, index] : {std::pair{"R5RecAlarmRelay32", 160}, {"R6RecAlarmRelay1", 0},
                                        {"RecAlarmRelay33", 33}, {"RelayX", 0}}) {
            relay.IndexReference(reference);
            EXPECT_EQ(relay.Index(), index) << reference;
        }
        f.State().SetRelayLabel(HostRelayTable::Recorder, 39, "Horn");
        relay.Index(40);
        EXPECT_EQ(relay.Name(), "Horn");

        TelvaneTagAlarmRelays tagRelay(&t);
        tagRelay.IndexReference("TagAlarmRelay512");
        f.State().SetRelayAddress(HostRelayTable::Tag, 511, std::string(45, 'a'));
        EXPECT_EQ(tagRelay.Address(), std::string(40, 'a'));
        tagRelay.Index(513);
        EXPECT_EQ(tagRelay.IndexReference(), "");
    }
    ASSERT_TRUE(f.Install(5));
    Telvane t;
    TelvaneRecAlarmRelays relay(&t);
    relay.Index(320);
    EXPECT_EQ(std::make_pair(relay.RecorderNumber(), relay.RecorderRelayNumber()), std::make_pair(1, 320));
    EXPECT_EQ(relay.IndexReference(), "RecAlarmRelay320");
    TelvaneTagAlarmRelays tagRelay(&t);
    tagRelay.Index(1);
    EXPECT_EQ(tagRelay.Index(), 0) << "tag alarm relays are V4 only";
}

// Lists show configured points only (active or named); an output's entry carries its tag number.
TEST_F(V4Host, TagListsAreRewrittenWithReferences) {
    s.SetName(HostTable::Tags, 11, "Boiler gas");
    s.SetFlag(HostTable::Tags, 2, HostFlag::Active, true);
    s.SetName(HostTable::OutputTags, 4, "Watchdog");
    s.SetName(HostTable::Tags, 1500, "beyond V4 inputs");
    Telvane& t = *host;
    MemoryList list;
    t.Tags.SetListBox(list);
    ASSERT_EQ(list.ListCount(), 2);
    EXPECT_EQ(list.List(0), "[T3] ");
    EXPECT_EQ(list.List(1), "[T12] Boiler gas");
    t.Tags.ListReference("[T12]");
    EXPECT_EQ(list.ListIndex(), 1);
    EXPECT_EQ(t.Tags.ListReference(), "[T12]");

    MemoryList outputs;
    t.Tags.SetComboBoxV4OutputTag(outputs);
    ASSERT_EQ(outputs.ListCount(), 1);
    EXPECT_EQ(outputs.List(0), "[T2005] Watchdog");
    EXPECT_EQ(t.Tags.ComboIndexV4OutputTag(), 0) << "an empty selection names no tag";
    t.Tags.ComboIndexV4OutputTag(2005);
    EXPECT_EQ(t.Tags.ComboIndexV4OutputTag(), 2005);

    s.SetDialogAnswer(0);
    EXPECT_EQ(t.Tags.SelectTagDialog(0, 17, "Pick a tag"), 17);
    s.SetDialogAnswer(44);
    EXPECT_EQ(t.Tags.SelectV4OutputTagDialog(0, 2001, "Pick an output"), 44);
}

TEST(TelvaneLists, LineListsOnV5AndNothingWithoutAHost) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    {
        Telvane none;
        TelvaneRecLine lines(&none);
        MemoryList list;
        list.AddItem("untouched", 1);
        lines.SetListBox(list);
        EXPECT_EQ(list.ListCount(), 1);
    }
    ASSERT_TRUE(f.Install(5));
    f.State().SetName(HostTable::Lines, 123, "Steam");
    f.State().SetFlag(HostTable::Lines, 999, HostFlag::Active, true);
    Telvane t;
    TelvaneRecLine lines(&t);
    MemoryList combo;
    lines.SetComboBox(combo);
    ASSERT_EQ(combo.ListCount(), 2);
    EXPECT_EQ(combo.List(0), "[P13L4] Steam");
    EXPECT_EQ(combo.List(1), "[P100L10] ");
    lines.ComboIndex(1000);
    EXPECT_EQ(combo.ListIndex(), 1);
}

// A missing library is error 53 naming it, a missing call 453.
TEST_F(V5Host, MissingLibrariesAndCallsAreErrorsNotCrashes) {
    HostLibraries libs;
    EXPECT_FALSE(libs.Load(HostLibrary::Points, "C:\\Telvane\\nothere.dll"));
    VbResult<float> r = libs.GetTagReading(0);
    EXPECT_EQ(r.Error.Number, 53);
    EXPECT_EQ(r.Error.Description, "File not found: hostpts32.dll");
    ASSERT_TRUE(libs.Load(HostLibrary::Points, "C:\\Telvane\\hostarc.dll"));
    EXPECT_EQ(libs.GetTagReading(0).Error.Number, 453);
    HostFixture::WriteFile(f.Folder() / "broken.dll", "not an ELF file");
    EXPECT_FALSE(libs.Load(HostLibrary::Recorder, "C:\\Telvane\\broken.dll"));
    EXPECT_FALSE(libs.Loaded(HostLibrary::Recorder));
    // Long job texts are cut to the 250-character buffer.
    ASSERT_TRUE(libs.Load(HostLibrary::Points, "C:\\Telvane\\hostpts32.dll"));
    s.SetJobText(HostJobText::JobDir, std::string(259, 'j'));
    EXPECT_EQ(libs.GetJobDir().Value, std::string(249, 'j'));
}
