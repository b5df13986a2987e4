#include "FilesTestSupport.h"
#include "files/BackupStoreFile.h"
#include "files/HalfHourSave.h"
#include "files/StoreFile.h"
#include "files/UpdateSetupData.h"

using namespace filestest;

namespace {

class StoreFileTest : public StoreTest {
protected:
    void SetUp() override
    {
        settings.StoreFilePrefix = "Vtrs";
        settings.headertext.replace(0, 9, "Site head");
        settings.currencychr = 163;
        settings.ShedMeter = 11;
        settings.UnShedMeter = 12;
    }

    fs::path StorePath(const std::string& yymm) const { return DataFolder() / "Voltaris" / ("Vtrs" + yymm + ".lum"); }
    void Save(DateTime now) { HalfHourSave(c, now); }
    // The save in the scan at h:m:s on 3 March.
    void SaveAt(int h, int m, int sec) { Save(MakeDateTime(2024, 3, 3, h, m, sec)); }
    // A standard tag setup and a start at 09:40 on 3 March.
    void StartMarch()
    {
        WriteMtg(StandardMtg(48).bytes);
        ASSERT_EQ(Start(MakeDateTime(2024, 3, 3, 9, 40, 0)), SetupLoadResult::Loaded);
    }
    // Place of a tag's slot (0 for the flag) in record r, with 200 tags.
    std::size_t Slot(int r, int tag = 0) const { return static_cast<std::size_t>(setup.DataStart - 1 + r * 804 + (tag ? 2 + 4 * (tag - 1) : 0)); }
    std::string Stored(const std::string& yymm = "2403") const { return ReadBytes(StorePath(yymm)); }
    float At(int r, int tag) const { return GetF32(Stored(), Slot(r, tag)); }
    int Flag(int r) const { return Get16(Stored(), Slot(r)); }
    std::string Ini() const { return ReadBytes(SetupFolder() / "VoltarisSetup.ini"); }

    // An MTG with 200 tags, K centers and a few tags of each kind.
    MtgImage StandardMtg(int periods, int k = 20, int n = 1, int m = 2)
    {
        MtgImage f(n, m, k, 250, periods);
        f.OnlineTag(1, "Incomer", 1, 22);
        Put16(f.bytes, f.Tag(1) + 98, 1);  // in the site total
        f.OnlineTag(2, "Logged", 1, 25);   // From Log File
        Put16(f.bytes, f.Tag(2) + 98, 1);
        PutText(f.bytes, f.Tag(3), "Spare", 24);  // off line measured
        Put16(f.bytes, f.Tag(3) + 50, 1);
        f.OnlineTag(4, "Display", 3, 0);
        f.OnlineTag(5, "Boiler", 1, 24);
        Put32(f.bytes, f.Tag(5) + 52, 0x05050505);
        Put16(f.bytes, f.Tag(5) + 96, 16);
        Put16(f.bytes, f.TagTail(5), 7);
        Put16(f.bytes, f.TagTail(5) + 18, 31);
        Put32(f.bytes, f.TagTail(5) + 20, 0x32323232);
        for (int e = 0; e < m; ++e)
            PutF32(f.bytes, f.Entry(0, e) + 58, 50.0F);  // non-zero, so the copy is byte-identical
        PutText(f.bytes, f.Pair(1), "Pair one", 20);
        if (k > 0)
            PutText(f.bytes, f.CenterAt(1), "Center one", 20);
        PutText(f.bytes, f.Fixed(3), "Fixed three", 12);
        return f;
    }
};

TEST_F(StoreFileTest, NewFileLayoutWith48Periods)
{
    const MtgImage mtg = StandardMtg(48);
    WriteMtg(mtg.bytes);
    values.resize(201);
    values[5].LastReadTime = 45000.75;
    ASSERT_EQ(Start(MakeDateTime(2024, 3, 3, 9, 40, 0)), SetupLoadResult::Loaded);
    EXPECT_EQ(LogLines(), 0);
    EXPECT_EQ(setup.TagCount, 178);
    EXPECT_EQ(state.LastSavedPeriod, 20);

    const std::string b = Stored();
    const int64_t tagDataStart = TagDataStart(1, 2, 20, 200);
    const int64_t dataStart = tagDataStart + 728 * 200;
    EXPECT_EQ(Get32(b, 105), tagDataStart);
    EXPECT_EQ(Get32(b, 109), dataStart);
    EXPECT_EQ(setup.DataStart, dataStart);
    // 31 days of 48 records of 804 bytes; the last two bytes of the last record are never written.
    EXPECT_EQ(static_cast<int64_t>(b.size()), dataStart - 1 + (31 * 48 - 1) * 804 + 802);

    EXPECT_EQ(b.substr(0, 9), "Site head");
    EXPECT_EQ(b.substr(9, 41), std::string(41, '\0'));
    for (auto [at, want] : {std::pair{60, 200}, {62, 7}, {64, 250}, {66, 48}, {68, 1}, {70, 2}, {72, 163}, {74, 20},
                            {113, 11}, {115, 12}})
        EXPECT_EQ(Get16(b, at), want) << "at " << at;

    // The setup copy: tariffs, pair tables and centers byte for byte as in the tag setup file.
    const std::size_t copyLength = mtg.CenterAt(21) - 12;
    EXPECT_EQ(b.substr(199, copyLength), mtg.bytes.substr(12, copyLength));
    const std::size_t summaries = 199 + copyLength;
    const std::size_t s5 = summaries + 4 * 62;
    EXPECT_EQ(b.substr(s5, 24), "Boiler                  ");
    for (auto [at, want] : {std::pair{24, 1}, {26, 1}, {28, 24}, {34, 16}, {38, 7}, {56, 31}})
        EXPECT_EQ(Get16(b, s5 + at), want) << "at " << at;
    for (std::size_t at : {30, 40, 44, 48, 52, 58})
        EXPECT_EQ(Get32(b, s5 + at), at == 30 ? 0x05050505 : 0x32323232) << "at " << at;
    const std::size_t fixed = summaries + 200 * 62 + 200 * 6;
    EXPECT_EQ(b.substr(fixed, 67 * 30), mtg.bytes.substr(112196, 67 * 30));
    EXPECT_EQ(static_cast<int64_t>(fixed + 67 * 30 + 1), tagDataStart);
    EXPECT_EQ(GetAs<double>(b, static_cast<std::size_t>(tagDataStart - 1 + 4 * 728)), 45000.75);

    // The save at 10:00:20 on the 3rd writes record 115, 804 bytes per record after record 0.
    values[1].Integrated = 12.5F;
    values[5].Integrated = -3.25F;
    values[4].Integrated = 99;
    state.DataOkFlag = 1;
    SaveAt(10, 0, 20);
    const std::string a = Stored();
    ASSERT_EQ(a.size(), b.size());
    const std::size_t r115 = static_cast<std::size_t>(dataStart - 1 + 115 * 804);
    EXPECT_EQ(Get16(a, r115), 1);
    EXPECT_EQ(GetF32(a, r115 + 2), 12.5F);
    EXPECT_EQ(GetF32(a, r115 + 2 + 4 * 4), -3.25F);
    EXPECT_EQ(GetF32(a, r115 + 2 + 4 * 3), 0.0F) << "display tag";
    // Only record 115 changed.
    std::size_t differing = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (a[i] != b[i]) {
            EXPECT_GE(i, r115);
            EXPECT_LT(i, r115 + 804);
            ++differing;
        }
    EXPECT_GT(differing, 0u);
    EXPECT_EQ(state.LastSavedPeriod, 21);
    EXPECT_EQ(values[1].Integrated, 0.0F);
    EXPECT_EQ(values[4].Integrated, 0.0F);
    EXPECT_EQ(view.status.back(), "Saving Data\r\nc:\\telvane\\job1\\data\\voltaris\\vtrs2403.lum");
}

TEST_F(StoreFileTest, DataStartWith24And96Periods)
{
    for (int periods : {24, 96}) {
        SCOPED_TRACE(periods);
        fs::remove_all(DataFolder() / "Voltaris");
        setup = SetupData{};
        WriteMtg(StandardMtg(periods, 3, 0, 0).bytes);
        ASSERT_EQ(Start(MakeDateTime(2024, 5, 1, 0, 10, 0)), SetupLoadResult::Loaded);
        const std::string b = Stored("2405");
        const int64_t tagDataStart = TagDataStart(0, 0, 3, 200);
        const int64_t block = 8 + 12 * periods + 48 + 96;
        const int64_t dataStart = periods == 24 ? tagDataStart + 728 * 200 : tagDataStart + 200 * block;
        EXPECT_EQ(block, periods == 24 ? 440 : 1304);
        EXPECT_EQ(Get32(b, 105), tagDataStart);
        EXPECT_EQ(Get32(b, 109), dataStart);
        EXPECT_EQ(static_cast<int64_t>(b.size()), dataStart - 1 + (31 * periods - 1) * 804 + 802);
    }
}

TEST_F(StoreFileTest, WhatEachTagLeavesInItsSlot)
{
    StartMarch();
    // What the CSV import put into the logged tag's slot, and a stray value in the off-line tag's slot.
    std::string b = Stored();
    PutF32(b, Slot(115, 2), 777.0F);
    PutF32(b, Slot(115, 3), 555.0F);
    PutF32(b, Slot(115, 191), 42.0F);  // beyond TagCount: never written
    WriteBytes(StorePath("2403"), b);

    values[2].Integrated = 5;
    values[3].Integrated = 6;
    SaveAt(10, 0, 20);
    const std::string a = Stored();
    EXPECT_EQ(Flag(115), 0) << "the first period after start-up";
    EXPECT_EQ(At(115, 2), 777.0F);
    EXPECT_EQ(At(115, 3), 0.0F);
    EXPECT_EQ(At(115, 191), 42.0F);
    EXPECT_EQ(state.DataOkFlag, 1);

    // A later scan in the same period writes nothing.
    values[1].Integrated = 8;
    SaveAt(10, 29, 50);
    EXPECT_EQ(Stored(), a);
    EXPECT_EQ(values[1].Integrated, 8.0F);

    // The next period carries flag 1.
    SaveAt(10, 30, 5);
    EXPECT_EQ(Flag(116), 1);
    EXPECT_EQ(At(116, 1), 8.0F);
    EXPECT_EQ(LogLines(), 0);

    // A save while the monitor is starting up flags the period as not whole.
    state.StartingUp = 1;
    SaveAt(11, 0, 5);
    EXPECT_EQ(state.DataOkFlag, 0);
}

// The clock set back half an hour at 10:10: the save after the step stores 10:00 to 10:10 as
// period 21 (not as the period the clock now shows), and the half hour that runs a second time
// adds to the records of its first run; a running total keeps its later reading.
TEST_F(StoreFileTest, AClockSetBackSavesThePeriodBeforeTheStepAndAddsRepeatedPeriods)
{
    StartMarch();
    setup.TagTable[5].ScanType = 28;  // the boiler's meter gives a running total
    values[1].Integrated = 5;
    values[5].Integrated = 1000;
    SaveAt(10, 0, 20);  // period 20, the first after start-up: flag 0

    values[1].Integrated = 2;
    values[5].Integrated = 1004;
    state.ClockStepFrom = MakeDateTime(2024, 3, 3, 10, 9, 59);
    SaveAt(9, 40, 30);
    EXPECT_EQ(Flag(116), 1);
    EXPECT_EQ(At(116, 1), 2.0F);
    EXPECT_EQ(At(114, 1), 0.0F);  // 09:00 to 09:30 is not touched
    EXPECT_EQ(state.ClockStepFrom, 0);
    EXPECT_NE(Ini().find("PeakTime=Mar 03, 24. 10:30"), std::string::npos) << Ini();
    EXPECT_EQ(state.LastSavedPeriod, 20);

    // 09:40 to 10:00 again, then 10:00 to 10:30 again.
    values[1].Integrated = 3;
    values[5].Integrated = 1010;
    SaveAt(10, 0, 20);
    EXPECT_EQ(At(115, 1), 5.0F + 3.0F);
    EXPECT_EQ(At(115, 5), 1010.0F);
    EXPECT_EQ(Flag(115), 0) << "whole only if both runs were";
    values[1].Integrated = 4;
    values[5].Integrated = 1020;
    SaveAt(10, 30, 20);
    EXPECT_EQ(At(116, 1), 2.0F + 4.0F);
    EXPECT_EQ(At(116, 5), 1020.0F);
    EXPECT_EQ(Flag(116), 1);
    // Past the repeated time, records are written afresh again.
    std::string b = Stored();
    PutF32(b, Slot(117, 1), 99.0F);
    WriteBytes(StorePath("2403"), b);
    values[1].Integrated = 7;
    SaveAt(11, 0, 20);
    EXPECT_EQ(At(117, 1), 7.0F);
    EXPECT_EQ(LogLines(), 0);
}

// Set on: 00:59:59 is followed by 02:00 (summer time begins). The save stores the period that
// ran, 00:30 to 01:00, not 01:30 to 02:00, which never ran; a step inside one period saves nothing.
TEST_F(StoreFileTest, AClockSetOnSavesThePeriodThatRan)
{
    WriteMtg(StandardMtg(48).bytes);
    ASSERT_EQ(Start(MakeDateTime(2024, 3, 3, 0, 40, 0)), SetupLoadResult::Loaded);
    values[1].Integrated = 6;
    // Late in the last second before the step, which a time of day would round up to 01:00:00.
    state.ClockStepFrom = MakeDateTime(2024, 3, 3, 0, 59, 59) + 0.7 / 86400;
    SaveAt(2, 0, 25);
    const std::string b = Stored();
    EXPECT_EQ(At(97, 1), 6.0F);
    EXPECT_EQ(At(99, 1), 0.0F);
    EXPECT_NE(Ini().find("PeakTime=Mar 03, 24. 01:00"), std::string::npos);

    values[1].Integrated = 1;
    state.ClockStepFrom = MakeDateTime(2024, 3, 3, 2, 5, 0);
    SaveAt(2, 10, 0);  // on by five minutes, still in period 5
    EXPECT_EQ(Stored(), b);
    EXPECT_EQ(state.ClockStepFrom, 0);
    EXPECT_EQ(values[1].Integrated, 1.0F);
}

TEST_F(StoreFileTest, DemoTouchesNoFileButKeepsPeaksAndResets)
{
    StartMarch();
    fs::remove(StorePath("2403"));
    settings.Demo = 1;
    values[1].Integrated = 40;
    values[2].Integrated = 2;
    values[5].Integrated = 1000;  // not in the site total
    SaveAt(10, 0, 20);
    EXPECT_FALSE(fs::exists(StorePath("2403")));
    EXPECT_EQ(values[1].Integrated, 0.0F);
    EXPECT_EQ(values[5].Integrated, 0.0F);
    const std::string ini = Ini();
    EXPECT_NE(ini.find("1PeakValue=42"), std::string::npos) << ini;
    EXPECT_NE(ini.find("1PeakTime=Mar 03, 24. 10:00"), std::string::npos) << ini;
}

TEST_F(StoreFileTest, PeriodOfTheLastDayGoesIntoItsOwnMonth)
{
    WriteMtg(StandardMtg(48).bytes);
    ASSERT_EQ(Start(MakeDateTime(2024, 3, 31, 23, 40, 0)), SetupLoadResult::Loaded);
    fs::remove(StorePath("2403"));  // even when it went missing, last month's file receives the period
    values[1].Integrated = 31.5F;
    state.DataOkFlag = 1;
    Save(MakeDateTime(2024, 4, 1, 0, 0, 20));
    ASSERT_TRUE(fs::exists(StorePath("2403")));
    ASSERT_TRUE(fs::exists(StorePath("2404")));
    const std::string march = Stored();
    EXPECT_EQ(Get16(march, Slot(31 * 48 - 1)), 1);
    EXPECT_EQ(GetF32(march, Slot(31 * 48 - 1, 1)), 31.5F);
    const std::string april = ReadBytes(StorePath("2404"));
    EXPECT_EQ(Get16(april, 66), 48);
    EXPECT_EQ(april.size(), march.size());
    EXPECT_EQ(april.substr(static_cast<std::size_t>(setup.DataStart - 1)),
              std::string(april.size() - static_cast<std::size_t>(setup.DataStart - 1), '\0'));
    EXPECT_NE(settings.StoreFilePath.find("Vtrs2404.lum"), std::string::npos);
    EXPECT_EQ(LogLines(), 0);
}

// A failed backup copy or an unwritable store folder loses nothing saved: one line each, and the
// scan goes on.
TEST_F(StoreFileTest, BackupAndSaveFaultsLoseNothingSaved)
{
    StartMarch();
    fs::create_directories(drive / "Backup");
    settings.BackupDir = "C:\\Backup";
    values[1].Integrated = 3;
    SaveAt(10, 0, 20);
    EXPECT_EQ(ReadBytes(drive / "Backup" / "Vtrs2403.lum"), Stored());
    EXPECT_EQ(std::distance(fs::directory_iterator(drive / "Backup"), fs::directory_iterator{}), 1);

    fs::remove_all(drive / "Backup");
    values[1].Integrated = 4;
    SaveAt(10, 30, 20);
    EXPECT_EQ(At(116, 1), 4.0F);
    EXPECT_EQ(LogLines(), 1);
    EXPECT_EQ(LogLinesWith("BackupStoreFile, Error 76/ Path not found"), 1) << LogText();
    settings.BackupDir = "";
    EXPECT_FALSE(BackupStoreFile(settings.StoreFilePath, "").Failed());

    // The "\Voltaris" folder replaced by a file: nothing can be opened there.
    const std::string saved = Stored();
    fs::rename(DataFolder() / "Voltaris", DataFolder() / "Voltaris.moved");
    WriteBytes(DataFolder() / "Voltaris", "not a folder");
    values[1].Integrated = 10;
    SaveAt(11, 0, 20);
    EXPECT_EQ(LogLinesWith("HalfHourSave, Error"), 1) << LogText();
    EXPECT_EQ(ReadBytes(DataFolder() / "Voltaris.moved" / "Vtrs2403.lum"), saved);
    EXPECT_EQ(state.LastSavedPeriod, 23);
}

TEST_F(StoreFileTest, ExistingFileDimensionsHoldForTheMonth)
{
    // A file made with 10 centers; the tag setup now says 20.
    WriteMtg(StandardMtg(48, 10).bytes);
    ASSERT_EQ(Start(MakeDateTime(2024, 3, 3, 9, 40, 0)), SetupLoadResult::Loaded);
    const int32_t dataStart10 = setup.DataStart;
    setup = SetupData{};
    WriteMtg(StandardMtg(48, 20).bytes);
    ASSERT_EQ(Start(MakeDateTime(2024, 3, 3, 9, 45, 0)), SetupLoadResult::Loaded);
    EXPECT_EQ(setup.CenterCount, 10);
    EXPECT_EQ(setup.TagCount, 188);
    EXPECT_EQ(setup.DataStart, dataStart10);
    EXPECT_EQ(LogLines(), 0);

    // Memory and file disagree (the file was swapped under the monitor): the record goes where
    // the file's own header puts it, and only tags the file has room for are written.
    setup.CenterCount = 30;
    setup.TagCount = 168;
    values[1].Integrated = 2;
    const std::string before = Stored();
    {
        StoreFile file;
        ASSERT_FALSE(file.Open(LocalPath(settings.StoreFilePath).string()).Failed());
        UpdateSetupData(c, file);  // dimensions differ: nothing written
    }
    EXPECT_EQ(Stored(), before);
    SaveAt(10, 0, 20);
    const std::string after = Stored();
    EXPECT_EQ(GetF32(after, static_cast<std::size_t>(dataStart10 - 1 + 115 * 804 + 2)), 2.0F);

    // A file with other periods per day than memory is refused, not scribbled over.
    setup.PeriodsPerDay = 96;
    state.LastSavedPeriod = 0;
    SaveAt(11, 0, 20);
    EXPECT_EQ(Stored(), after);
    EXPECT_EQ(LogLinesWith("HalfHourSave, Error 59/ Bad record length"), 1);
    EXPECT_EQ(LogLines(), 1);
}

// An existing file whose header cannot be right ends the monitor at its check, the way wrong
// periods per day do, and is left as it was: the message names the field and what it holds.
TEST_F(StoreFileTest, DamagedHeaderEndsTheMonitorAndNamesTheField)
{
    StartMarch();
    values[1].Integrated = 5;
    SaveAt(10, 0, 20);
    std::string bytes = Stored();
    Put16(bytes, 60, 32767);  // tag slots
    WriteBytes(StorePath("2403"), bytes);
    view = RecordingView{};
    setup = SetupData{};
    EXPECT_EQ(Start(MakeDateTime(2024, 3, 3, 10, 40, 0)), SetupLoadResult::ProgramEnds);
    ASSERT_EQ(view.messages.size(), 1u);
    EXPECT_EQ(view.messages[0].title, "Error in Store File");
    EXPECT_EQ(view.messages[0].icon, MessageIcon::Critical);
    const std::string path = "c:\\telvane\\job1\\data\\voltaris\\vtrs2403.lum";
    EXPECT_EQ(view.messages[0].text, "WARNING!!!\r\n\r\nStore file " + path +
                                         "\r\nhas a damaged header.\r\nIts MaxTags (byte 60) is 32767, where 1 to "
                                         "8191 tag slots can be held.\r\n\r\nTo remedy this we recommend that you "
                                         "delete the store file\r\n" +
                                         path + "\r\nor put back its copy from the backup folder.");
    EXPECT_TRUE(view.ended);
    EXPECT_EQ(Stored(), bytes);
}

TEST_F(StoreFileTest, HeaderDamageFieldByField)
{
    StoreHeader good;
    good.MaxTags = 200;
    good.PeriodsPerDay = 48;
    good.TariffCount = 1;
    good.TariffEntryCount = 2;
    good.CenterCount = 20;
    good.TagDataStart = static_cast<int32_t>(TagDataStart(1, 2, 20, 200));
    good.DataStart = static_cast<int32_t>(good.TagDataStart + 728 * 200);
    EXPECT_FALSE(StoreHeaderDamage(good));
    StoreHeader unfinished = good;  // positions not yet written: the check writes them
    unfinished.TagDataStart = 0;
    unfinished.DataStart = 0;
    EXPECT_FALSE(StoreHeaderDamage(unfinished));

    struct Case {
        void (*damage)(StoreHeader&);
        const char* field;
        int offset;
        int64_t value;
    };
    const Case cases[] = {
        {[](StoreHeader& h) { h.MaxTags = 0; }, "MaxTags", 60, 0},
        {[](StoreHeader& h) { h.MaxTags = 8192; }, "MaxTags", 60, 8192},
        {[](StoreHeader& h) { h.TariffCount = -1; }, "TariffCount", 68, -1},
        // 201 rows of tag aux entries hold 40 entries each at most: 201 x 41 = 8241 > 8192.
        {[](StoreHeader& h) { h.TariffEntryCount = 40; }, "TariffEntryCount", 70, 40},
        {[](StoreHeader& h) { h.CenterCount = -3; }, "CenterCount", 74, -3},
        {[](StoreHeader& h) { h.DataStart += 1; }, "DataStart", 109, good.DataStart + 1},
        {[](StoreHeader& h) { h.TagDataStart = 0; }, "TagDataStart", 105, 0},
        // Slots the tables could hold, but not the count the file was laid out with.
        {[](StoreHeader& h) { h.MaxTags = 190; }, "TagDataStart", 105, good.TagDataStart},
        {[](StoreHeader& h) { h.PeriodsPerDay = 96; }, "DataStart", 109, good.DataStart},  // a longer block a tag
    };
    for (const Case& c : cases) {
        StoreHeader h = good;
        c.damage(h);
        const std::optional<StoreHeaderFault> fault = StoreHeaderDamage(h);
        ASSERT_TRUE(fault) << c.field;
        EXPECT_EQ(fault->Field, c.field);
        EXPECT_EQ(fault->Offset, c.offset);
        EXPECT_EQ(fault->Value, c.value) << c.field;
    }
    StoreHeader edge = good;
    edge.TariffEntryCount = 39;  // 201 x 40 = 8040 elements
    edge.TagDataStart = static_cast<int32_t>(TagDataStart(1, 39, 20, 200));
    edge.DataStart = static_cast<int32_t>(edge.TagDataStart + 728 * 200);
    EXPECT_FALSE(StoreHeaderDamage(edge));
}

TEST_F(StoreFileTest, RecordsReadAndWrittenInABatch)
{
    WriteMtg(StandardMtg(96, 0, 0, 0).bytes);
    ASSERT_EQ(Start(MakeDateTime(2024, 3, 3, 9, 40, 0)), SetupLoadResult::Loaded);
    StoreFile file;
    ASSERT_FALSE(file.Open(settings.StoreFilePath).Failed());
    const VbResult<StoreLayout> layout = file.ReadLayout();
    ASSERT_TRUE(layout.Ok());
    EXPECT_EQ(layout.Value.RecordCount(), 31 * 96);
    for (int32_t r = 0; r < layout.Value.RecordCount(); r += 7) {
        const std::vector<float> v{static_cast<float>(r), 1.5F, -2.0F};
        ASSERT_FALSE(file.WriteRecord(layout.Value, r, 1, v).Failed());
    }
    int16_t flag = -1;
    std::vector<float> got;
    ASSERT_FALSE(file.ReadRecord(layout.Value, 2975, flag, got, 3).Failed());
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(got, (std::vector<float>{2975.0F, 1.5F, -2.0F}));
    EXPECT_EQ(file.ReadRecord(layout.Value, 31 * 96, flag, got, 3).Number, ErrBadRecordNumber);
    EXPECT_EQ(file.ReadRecord(layout.Value, -1, flag, got, 3).Number, ErrBadRecordNumber);
    EXPECT_EQ(file.ReadRecord(layout.Value, 0, flag, got, 201).Number, ErrBadRecordLength);
    EXPECT_EQ(At(2975, 1), 2975.0F);
}

} // namespace
