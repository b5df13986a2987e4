#include "FilesTestSupport.h"
#include "files/GetSetupData.h"

using namespace filestest;

namespace {

class GetSetupDataTest : public StoreTest {
protected:
    SetupLoadResult Load(const std::string& bytes)
    {
        WriteMtg(bytes);
        return GetSetupData("C:\\Telvane\\Job1\\Setup\\Site.MTG", host, setup, view);
    }
};

TEST_F(GetSetupDataTest, ReadsEveryTableAtItsPlace)
{
    MtgImage f(2, 3, 4);
    PutText(f.bytes, f.Tariff(1), "Summer", 20);
    PutText(f.bytes, f.Tariff(1) + 50, "T4", 10);
    Put16(f.bytes, f.Tariff(1) + 62, -5);                    // value 2
    PutText(f.bytes, f.Entry(1, 2), "Night", 30);
    Put16(f.bytes, f.Entry(1, 2) + 40, 66);                  // value 6
    PutF32(f.bytes, f.Entry(1, 2) + 58, 37.5F);
    Put32(f.bytes, f.Entry(1, 2) + 62, 123456);              // value 12
    PutText(f.bytes, f.Tariff(1) + 64 + 66 * 3, "Text5", 20);
    Put32(f.bytes, f.Tariff(1) + 194 + 66 * 3 + 8, -77);      // value 20
    PutText(f.bytes, f.Pair(20), "Pairs", 20);
    Put16(f.bytes, f.Pair(20) + 20, 9);
    Put16(f.bytes, f.Pair(20) + 22 + 4 * 9, 91);             // pair 9 first
    Put16(f.bytes, f.Pair(20) + 22 + 4 * 9 + 2, 92);         // pair 9 second
    PutText(f.bytes, f.CenterAt(4), "Plant", 20);
    Put(f.bytes, f.CenterAt(4) + 30, 0x0102030405060708ULL, 8);
    f.OnlineTag(200, "Last tag", 1, 22);
    Put32(f.bytes, f.Tag(200) + 52, 0x11223344);             // Setup1
    Put16(f.bytes, f.Tag(200) + 98, 1);                      // InTotal
    Put16(f.bytes, f.Tag(200) + 106, 12);                    // PageNo
    PutF32(f.bytes, f.Tag(200) + 124, 2500.0F);              // MaxRate
    PutText(f.bytes, f.Tag(200) + 138, "Item!", 24);
    Put(f.bytes, f.Tag(200) + 230 + 8, 0x4847464544434241ULL, 8);  // aux entry 1 "ABCDEFGH"
    Put16(f.bytes, f.TagTail(200), 3);                       // CenterNo
    Put16(f.bytes, f.TagTail(200) + 14, 5);                  // Setup30 first slot
    Put16(f.bytes, f.TagTail(200) + 16, 6);                  // Setup30 second slot
    Put16(f.bytes, f.TagTail(200) + 18, 31);
    Put32(f.bytes, f.TagTail(200) + 20, -32);
    PutText(f.bytes, f.Fixed(66), "Fixed66", 12);
    Put32(f.bytes, f.Fixed(66) + 26, 660066);

    ASSERT_EQ(Load(f.bytes), SetupLoadResult::Loaded);
    EXPECT_EQ(LogLines(), 0);
    EXPECT_EQ(std::vector<int>({setup.SetupVersion, setup.SetupInfoWord, setup.PeriodsPerDay, setup.MaxTags}),
              std::vector<int>({250, 7, 48, 200}));
    ASSERT_EQ(setup.Tariffs.size(), 3u);
    EXPECT_EQ(setup.Tariffs[1].Text1, "Summer              ");
    EXPECT_EQ(setup.Tariffs[1].Text4, "T4        ");
    EXPECT_EQ(setup.Tariffs[1].Value2, -5);
    EXPECT_EQ(setup.Tariffs[1].Text5.substr(0, 5), "Text5");
    EXPECT_EQ(setup.Tariffs[1].Value20, -77);
    ASSERT_EQ(setup.TariffEntries.size(), 3u);
    ASSERT_EQ(setup.TariffEntries[1].size(), 4u);
    EXPECT_EQ(setup.TariffEntries[1][2].Name.substr(0, 6), "Night ");
    EXPECT_EQ(setup.TariffEntries[1][2].Value6, 66);
    EXPECT_EQ(setup.TariffEntries[1][2].Percentage, 37.5F);
    EXPECT_EQ(setup.TariffEntries[1][2].Value12, 123456);
    EXPECT_EQ(setup.TariffEntries[1][1].Percentage, 100.0F) << "a stored 0 reads as 100";
    EXPECT_EQ(setup.TariffEntries[1][3].Percentage, 0.0F) << "slot M is never read";
    EXPECT_EQ(setup.PairTables[20].Name.substr(0, 5), "Pairs");
    EXPECT_EQ(setup.PairTables[20].Value, 9);
    EXPECT_EQ(setup.PairTables[20].Pairs[9].First, 91);
    EXPECT_EQ(setup.PairTables[20].Pairs[9].Second, 92);
    ASSERT_EQ(setup.Centers.size(), 5u);
    EXPECT_EQ(setup.Centers[4].Name.substr(0, 5), "Plant");
    EXPECT_EQ(setup.Centers[4].Value5, 0x0102030405060708LL);
    const TagRecord& tag = setup.TagTable.at(200);
    EXPECT_EQ(tag.TagName, "Last tag                ");
    // Setup1, InTotal, PageNo, CenterNo, Setup30 (the second slot is the one kept), Setup31, Setup32.
    EXPECT_EQ(std::vector<int64_t>({tag.Setup1, tag.InTotal, tag.PageNo, tag.CenterNo, tag.Setup30, tag.Setup31, tag.Setup32}),
              std::vector<int64_t>({0x11223344, 1, 12, 3, 6, 31, -32}));
    EXPECT_EQ(tag.MaxRate, 2500.0F);
    EXPECT_EQ(tag.UnitsPerPulse, 1.0F) << "a stored 0 reads as 1";
    EXPECT_EQ(tag.SourceItem.substr(0, 6), "Item! ");
    EXPECT_EQ(std::string(setup.TagAuxEntries.at(200).at(1).data(), 8), "ABCDEFGH");
    EXPECT_EQ(setup.FixedEntries[66].Name, "Fixed66     ");
    EXPECT_EQ(setup.FixedEntries[66].Value8, 660066);
}

TEST_F(GetSetupDataTest, VersionRules)
{
    struct Case {
        int version;
        bool editorPresent;
        SetupLoadResult result;
        std::size_t messages, started;
    };
    const Case cases[] = {
        {219, true, SetupLoadResult::ProgramEnds, 1, 0},
        {220, true, SetupLoadResult::ProgramEnds, 0, 1},
        {249, true, SetupLoadResult::ProgramEnds, 0, 1},
        {249, false, SetupLoadResult::ProgramEnds, 0, 0},
        {250, true, SetupLoadResult::Loaded, 0, 0},
        {-3, false, SetupLoadResult::ProgramEnds, 1, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.version);
        view = RecordingView{};
        const fs::path editor = drive / "Telvane" / "vt-setup.exe";
        fs::remove(editor);
        if (c.editorPresent)
            WriteBytes(editor, "#!/bin/sh\n");
        EXPECT_EQ(Load(MtgImage(0, 0, 0, c.version).bytes), c.result);
        EXPECT_EQ(view.ended, c.result == SetupLoadResult::ProgramEnds);
        ASSERT_EQ(view.messages.size(), c.messages);
        if (c.messages) {
            EXPECT_EQ(view.messages[0].title, "Setup error");
            EXPECT_EQ(view.messages[0].icon, MessageIcon::Information);
            EXPECT_EQ(view.messages[0].text,
                      "This is not an Voltaris version 2.2a setup. Please load your .MTG tag setup file into "
                      "Voltaris Setup and save the file. After this update the Voltaris Monitor program will load "
                      "successfully.");
        }
        ASSERT_EQ(view.started.size(), c.started);
        if (c.started) {
            EXPECT_EQ(view.started[0], "C:\\Telvane\\vt-setup.exe /UpdateOnly");
        }
    }
}

TEST_F(GetSetupDataTest, CorrectionsOfDisplaySourcesAndMathsOperators)
{
    MtgImage f(0, 0, 5);
    // Display tags: showing a tag out of range goes to tag 1, a center out of range to center 0.
    f.OnlineTag(1, "D1", 3, 0);
    Put16(f.bytes, f.Tag(1) + 110, 2);   // DisplaySourceIsTag 2 -> 0 (a center)
    Put16(f.bytes, f.Tag(1) + 112, 6);   // center K+1 -> 0
    f.OnlineTag(2, "D2", 3, 0);
    Put16(f.bytes, f.Tag(2) + 110, 1);
    Put16(f.bytes, f.Tag(2) + 112, 0);   // tag 0 -> 1
    f.OnlineTag(3, "D3", 3, 0);
    Put16(f.bytes, f.Tag(3) + 110, 1);
    Put16(f.bytes, f.Tag(3) + 112, 200); // in range, kept
    f.OnlineTag(4, "D4", 3, 0);
    Put16(f.bytes, f.Tag(4) + 112, 5);   // center K, kept
    // Maths tag whose term 1 operator is 6: the group uses the second family.
    f.OnlineTag(5, "M", 1, 8);
    const int ops5[7] = {3, 6, 2, 5, 4, 7, 1};
    const int ops6[7] = {9, 2, 5, 6, 7, 1, 8};
    f.OnlineTag(6, "M2", 1, 8);  // term 1 operator 2: the first family
    f.OnlineTag(7, "R", 1, 24);  // not a maths tag: operators as stored
    for (std::size_t j = 0; j < 7; ++j)
        for (auto [tag, ops] : {std::pair{5, ops5}, {6, ops6}, {7, ops5}})
            Put16(f.bytes, f.Tag(tag) + 174 + 8 * j + 2, ops[j]);
    PutF32(f.bytes, f.Tag(7) + 120, 0.25F);

    ASSERT_EQ(Load(f.bytes), SetupLoadResult::Loaded);
    EXPECT_EQ(setup.TagTable[1].DisplaySourceIsTag, 0);
    EXPECT_EQ(setup.TagTable[1].DisplaySource, 0);
    EXPECT_EQ(setup.TagTable[2].DisplaySource, 1);
    EXPECT_EQ(setup.TagTable[3].DisplaySource, 200);
    EXPECT_EQ(setup.TagTable[4].DisplaySource, 5);
    const int want5[7] = {1, 6, 0, 5, 0, 7, 0};
    const int want6[7] = {0, 2, 0, 0, 0, 1, 8};
    for (int j = 0; j < 7; ++j) {
        EXPECT_EQ(setup.TagTable[5].MathsTerms[static_cast<std::size_t>(j)].TermOp, want5[j]) << "term " << j;
        EXPECT_EQ(setup.TagTable[6].MathsTerms[static_cast<std::size_t>(j)].TermOp, want6[j]) << "term " << j;
        EXPECT_EQ(setup.TagTable[7].MathsTerms[static_cast<std::size_t>(j)].TermOp, ops5[j]) << "term " << j;
    }
    EXPECT_EQ(setup.TagTable[5].MathsTerms[7].TermOp, 0);
    EXPECT_EQ(setup.TagTable[7].UnitsPerPulse, 0.25F);

    EXPECT_EQ(view.Cell(1, 4), "Display - Center 0");
    EXPECT_EQ(view.Cell(2, 4), "Display - Tag 1");
    EXPECT_EQ(view.Cell(5, 4), "Maths");
    EXPECT_EQ(view.Cell(7, 4), "Rate - Scada Tag");
}

TEST_F(GetSetupDataTest, GridProgressAndWaitWindow)
{
    MtgImage f(0, 0, 0);
    f.OnlineTag(1, "Incomer", 1, 22);
    Put16(f.bytes, f.Tag(2) + 24, 2);        // Online 2 is off line
    PutText(f.bytes, f.Tag(2), "Hidden", 24);
    Put16(f.bytes, f.Tag(2) + 50, 1);
    f.OnlineTag(3, "Odd", 5, 22);
    f.OnlineTag(4, "Unknown", 1, 99);
    ASSERT_EQ(Load(f.bytes), SetupLoadResult::Loaded);
    EXPECT_EQ(view.waits, std::vector<std::string>{"Get Setup File Data"});
    EXPECT_EQ(view.Cell(1, 1), "Incomer                 ");
    EXPECT_EQ(view.Cell(1, 4), "Pulse - Scada Tag");
    EXPECT_EQ(view.Cell(2, 1), "Off Line");
    EXPECT_EQ(view.Cell(2, 4), "");
    EXPECT_EQ(view.Cell(3, 4), "Unknown Tag Type");
    EXPECT_EQ(view.Cell(4, 4), "Unknown Scan Type");
    EXPECT_EQ(view.Cell(200, 1), "Off Line");
    ASSERT_EQ(view.progress.size(), 200u);
    EXPECT_EQ(view.progress[0], "0%");    // 0.5 rounds to even
    EXPECT_EQ(view.progress[2], "2%");    // 1.5 rounds to even
    EXPECT_EQ(view.progress[4], "2%");    // 2.5 rounds to even
    EXPECT_EQ(view.progress[199], "100%");
    EXPECT_EQ(view.doEvents, 200);
}

TEST_F(GetSetupDataTest, TruncatedFileFillsWhatItHoldsAndLogsOnce)
{
    MtgImage f(0, 0, 0);
    f.OnlineTag(1, "Kept", 1, 24);
    f.OnlineTag(3, "Lost", 1, 24);
    // Cut in the middle of tag 2's record.
    ASSERT_EQ(Load(f.bytes.substr(0, f.Tag(2) + 100)), SetupLoadResult::Loaded);
    EXPECT_EQ(setup.TagTable[1].TagName.substr(0, 4), "Kept");
    EXPECT_EQ(setup.TagTable[1].Online, 1);
    EXPECT_EQ(setup.TagTable[3].Online, 0);
    EXPECT_EQ(setup.TagTable.size(), 201u);
    EXPECT_EQ(setup.TagTable[3].UnitsPerPulse, 1.0F);
    EXPECT_EQ(view.progress.size(), 200u);
    EXPECT_EQ(LogLines(), 1);
    EXPECT_EQ(LogLinesWith("GetSetupData, Error 62/ Input past end of file"), 1);
}

TEST_F(GetSetupDataTest, DamagedCountsAreTrappedNotFatal)
{
    struct Case {
        int n, m, k;
        const char* error;
    };
    const Case cases[] = {
        {-1, 0, 0, "GetSetupData, Error 9/ Subscript out of range"},
        {0, -2, 0, "GetSetupData, Error 9/ Subscript out of range"},
        {0, 0, -5, "GetSetupData, Error 9/ Subscript out of range"},
        {32767, 32767, 0, "GetSetupData, Error 7/ Out of memory"},
        {0, 32767, 0, "GetSetupData, Error 7/ Out of memory"},
        {32767, 0, 32767, "GetSetupData, Error 7/ Out of memory"},
        {8000, 0, 100, "GetSetupData, Error 62/ Input past end of file"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.n) + " " + std::to_string(c.m) + " " + std::to_string(c.k));
        setup = SetupData{};
        EXPECT_EQ(Load(MtgImage(c.n, c.m, c.k).bytes), SetupLoadResult::Loaded);
        EXPECT_EQ(setup.TagTable.size(), 201u);
        EXPECT_EQ(LogLines(), 1);
        EXPECT_EQ(LogLinesWith(c.error), 1) << LogText();
        fs::remove(root / "program" / "voltamon.log");
    }
}

} // namespace
