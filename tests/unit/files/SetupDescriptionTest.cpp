#include <algorithm>
#include <tuple>

#include "FilesTestSupport.h"
#include "files/GetSetupData.h"
#include "files/SetupDescription.h"
#include "files/SetupFileImage.h"

using namespace filestest;

namespace {

std::string Build(const std::string& description)
{
    const SetupDescriptionResult parsed = ReadSetupDescription(description);
    EXPECT_EQ(parsed.Error, "");
    const VbResult<std::string> bytes = EncodeSetupFile(parsed.Image);
    EXPECT_TRUE(bytes.Ok()) << bytes.Error.Description;
    return bytes.Value;
}

std::string Dump(const std::string& bytes)
{
    const VbResult<SetupFileImage> image = DecodeSetupFile(bytes);
    EXPECT_TRUE(image.Ok()) << image.Error.Description;
    return WriteSetupDescription(image.Value);
}

class SetupDescriptionTest : public StoreTest {
protected:
    std::string Description() const { return ReadBytes(fs::path(VT_TEST_SOURCE_DIR) / "unit" / "files" / "data" / "site.mtg.txt"); }
};

TEST_F(SetupDescriptionTest, BuiltFileHasEveryFieldWhereTheLayoutPutsIt)
{
    const std::string b = Build(Description());
    const MtgImage at(2, 2, 3);  // offsets only
    EXPECT_EQ(b.size(), 112196u + 67 * 30);
    EXPECT_EQ(Get16(b, 0), 250);
    EXPECT_EQ(Get16(b, 2), 4242);
    EXPECT_EQ(b.substr(at.Tariff(0), 20), "Business            ");
    EXPECT_EQ(Get32(b, at.Tariff(0) + 194 + 132 + 8), -20);
    EXPECT_EQ(b.substr(at.Entry(0, 1), 8), "Off peak");
    EXPECT_EQ(GetF32(b, at.Entry(0, 0) + 58), 87.5F);
    EXPECT_EQ(Get32(b, at.Tariff(1) + 194 + 132), 0x7FFFFFFF);
    EXPECT_EQ(b.substr(at.Pair(3), 20), "Pairs \"three\"       ");
    EXPECT_EQ(Get16(b, at.Pair(3) + 22 + 36), -9);
    EXPECT_EQ(Get16(b, at.Pair(3) + 22 + 38), -10);
    EXPECT_EQ(static_cast<int64_t>(Get(b, at.CenterAt(1) + 30, 8)), 1234567890123LL);
    EXPECT_EQ(b.substr(at.Tag(1), 24), "Main incomer            ");
    EXPECT_EQ(Get16(b, at.Tag(1) + 100), 101);
    EXPECT_EQ(GetF32(b, at.Tag(1) + 128), 65536.0F);
    EXPECT_EQ(Get16(b, at.TagTail(1)), 1);
    EXPECT_EQ(Get32(b, at.TagTail(1) + 20), -32);
    EXPECT_EQ(b.substr(at.Tag(2) + 230, 8), "ABCDEFGH");
    EXPECT_EQ(Get16(b, at.TagTail(2) + 14), 5);
    EXPECT_EQ(Get16(b, at.TagTail(2) + 16), 6);
    EXPECT_EQ(Get16(b, at.Tag(3) + 174 + 8 + 2), 6);
    EXPECT_EQ(GetF32(b, at.Tag(3) + 174 + 8 + 4), 1.5F);
    EXPECT_EQ(b.substr(at.Tag(200), 5), "Spare");
    EXPECT_EQ(b.substr(at.Tag(201), 112196 - at.Tag(201)), std::string(112196 - at.Tag(201), '\0'));
    EXPECT_EQ(b.substr(at.Fixed(66), 12), "Last        ");
    EXPECT_EQ(Get16(b, at.Fixed(66) + 24), -7);
}

// The loader reads what the description says; the byte places themselves are checked above.
TEST_F(SetupDescriptionTest, LoaderSeesTheDescribedSetup)
{
    WriteBytes(drive / "Site.MTG", Build(Description()));
    ASSERT_EQ(GetSetupData("C:\\Site.MTG", host, setup, view), SetupLoadResult::Loaded);
    EXPECT_EQ(LogLines(), 0);
    EXPECT_EQ(setup.Centers[1].Name.substr(0, 8), "Workshop");
    EXPECT_EQ(setup.TagTable[1].SourceName.substr(0, 7), "telvane");
    EXPECT_EQ(setup.TagTable[1].UnitsPerPulse, 0.5F);
    EXPECT_EQ(setup.TagTable[2].LineNo, 4);
    EXPECT_EQ(setup.TagTable[3].MathsTerms[3].TermOp, 5);
    EXPECT_EQ(setup.TagTable[3].MathsTerms[3].TermFactor, 0.25F);
    EXPECT_EQ(view.Cell(2, 4), "Total - Recorder");
    EXPECT_EQ(setup.FixedEntries[0].Value8, 8);
}

TEST_F(SetupDescriptionTest, RemarksEndALineButNotAQuotedText)
{
    const std::string withRemarks = Build("[Header]   # the file's own header\n"
                                          "SetupVersion = 250  # loads\n"
                                          "[Tag 1]\n"
                                          "TagName = \"Pump #2\"   # a hash inside the name stays\n"
                                          "Online = 1\t# on line\n");
    const std::string plain = Build("[Header]\nSetupVersion = 250\n[Tag 1]\nTagName = \"Pump #2\"\nOnline = 1\n");
    ASSERT_FALSE(plain.empty());
    EXPECT_EQ(withRemarks, plain);
    EXPECT_NE(plain.find("Pump #2"), std::string::npos);
}

TEST_F(SetupDescriptionTest, DumpThenBuildGivesTheSameBytes)
{
    const std::string first = Build(Description());
    const std::string text = Dump(first);
    EXPECT_EQ(Build(text), first);
    EXPECT_EQ(Dump(Build(text)), text);
}

// Random bytes after a header with these counts, as long as its records reach (at least up to the
// end of the fixed entries), and a few more.
std::string FileWithCounts(int tariffs, int entries, int centers, uint32_t seed)
{
    MtgImage f(tariffs, entries, centers);
    const int64_t end = SetupTagSectionEnd(tariffs, entries, centers);
    f.bytes.resize(static_cast<std::size_t>(std::max<int64_t>(end, 112196 + 67 * 30)));
    for (std::size_t i = 12; i < f.bytes.size(); ++i) {
        seed = seed * 1664525 + 1013904223;
        f.bytes[i] = static_cast<char>(seed >> 24);
    }
    return f.bytes + "tail";
}

// Many tariff entries push the records over the fixed entries, which the monitor still reads from
// their own offset: such a file loads, so the tools take it too.
TEST_F(SetupDescriptionTest, RecordsOverTheFixedEntriesRoundTrip)
{
    // {tariffs, entries, centers}: records end far past the fixed entries (tariffs alone reach over
    // them), just past them (tags), and inside fixed entry 6 (it straddles the end).
    for (auto [n, m, k] : {std::tuple{100, 20, 3}, {0, 39, 0}, {0, 37, 30}, {389, 20, 8191}}) {
        SCOPED_TRACE(std::to_string(n) + " " + std::to_string(m) + " " + std::to_string(k));
        const std::string bytes = FileWithCounts(n, m, k, static_cast<uint32_t>(n + m + k));
        setup = SetupData{};
        ASSERT_EQ(LoadSetupFileBytes(bytes, VbError(), host, setup, view), SetupLoadResult::Loaded);
        EXPECT_EQ(LogLines(), 0) << LogText();

        const std::string text = Dump(bytes);
        EXPECT_EQ(Build(text), bytes);
        const VbResult<SetupFileImage> image = DecodeSetupFile(bytes);
        ASSERT_TRUE(image.Ok());
        // The tools see the same fixed entries as the monitor: the records' bytes at offset 112196.
        for (int f = 0; f < 67; ++f) {
            EXPECT_EQ(image.Value.Data.FixedEntries[f].Name, setup.FixedEntries[f].Name) << f;
            EXPECT_EQ(image.Value.Data.FixedEntries[f].Value8, setup.FixedEntries[f].Value8) << f;
        }
    }
    // The straddling entry is given (its tail is its own), the covered ones only named in a remark.
    const std::string text = Dump(FileWithCounts(0, 37, 30, 1));
    EXPECT_NE(text.find("# The records end at offset 112392, over fixed entries 0 to 5 at offset 112196"),
              std::string::npos);
    EXPECT_EQ(text.find("[Fixed 5]"), std::string::npos);
    EXPECT_NE(text.find("[Fixed 6]"), std::string::npos);
}

TEST_F(SetupDescriptionTest, FixedEntriesUnderTheRecordsComeFromThem)
{
    // Tags of 39 aux entries end at 114452: tags 197 to 200 cover every fixed entry.
    const std::string head = "[Header]\nSetupVersion = 250\nPeriodsPerDay = 48\nTariffEntryCount = 39\n";
    const MtgImage at(0, 39, 0);
    ASSERT_EQ(at.Tag(197), 112188u);
    ASSERT_EQ(at.Tag(200), 113886u);  // fixed entry 57 starts at its byte 20

    // Not given: they are whatever the tag records hold there.
    const std::string description = head + "[Tag 200]\nTagName = \"ABCDEFGHIJKLMNOPQRSTUVWX\"\n";
    const std::string built = Build(description);
    ASSERT_EQ(built.size(), 114452u);
    const SetupDescriptionResult read = ReadSetupDescription(description);
    ASSERT_EQ(read.Error, "");
    EXPECT_EQ(read.Image.Data.FixedEntries[57].Name.substr(0, 6), std::string("UVWX\0\0", 6));
    for (int f = 0; f < 67; ++f)
        EXPECT_EQ(read.Image.Data.FixedEntries[f].Name, built.substr(112196 + 30 * f, 12)) << f;

    // Given and agreeing with the bytes: taken. Fixed entry 0 lies at byte 8 of tag 197: blanks of
    // its name, then Online (0), then blanks of SourceName.
    const std::string agree = head + "[Fixed 0]\nName = \"\"\nValue1 = 0x2020\nValue2 = 0x2020\nValue4 = 0x2020\n"
                                     "Value5 = 0x2020\nValue6 = 0x2020\nValue7 = 0x2020\nValue8 = 0x20202020\n";
    EXPECT_EQ(ReadSetupDescription(agree).Error, "");
    EXPECT_EQ(Build(agree), Build(head));
    // Disagreeing: refused on its own line.
    const std::string differ = head + "[Tag 1]\nOnline = 1\n[Fixed 2]\nValue1 = 5\n";
    EXPECT_EQ(ReadSetupDescription(differ).Error,
              "line 7: [Fixed 2] lies at offset 112256, where the records above reach (to 114452), and differs "
              "from their bytes there");
    EXPECT_NE(ReadSetupDescription(head + "[Fixed 0]\nName = \"\"\n").Error, "");
}

TEST_F(SetupDescriptionTest, FilesTheMonitorCannotLoadAreRefused)
{
    auto refusal = [](const std::string& bytes) {
        const VbResult<SetupFileImage> image = DecodeSetupFile(bytes);
        return image.Ok() ? std::string("taken") : image.Error.Description;
    };
    // Records that end past the end of the file.
    std::string cut = FileWithCounts(100, 20, 3, 5);
    cut.resize(152000);
    EXPECT_EQ(refusal(cut), "it is 152000 bytes long; its counts put the end of its tag records at 236766");
    // Counts the loader will not size (tables beyond 8192 elements) whatever the length.
    std::string huge = FileWithCounts(0, 0, 0, 9);
    Put16(huge, 6, 32767);
    Put16(huge, 8, 32767);
    EXPECT_EQ(refusal(huge), "32767 tariffs of 32767 entries and 0 centers need tables larger than the monitor "
                             "loads (at most 8192 elements each)");
    SetupFileImage big;
    big.Data.TariffCount = 8192;
    EXPECT_FALSE(EncodeSetupFile(big).Ok());
}

TEST_F(SetupDescriptionTest, BadDescriptionsSayWhereAndWhy)
{
    const std::string head = "[Header]\nTariffCount = 1\nCenterCount = 2\n";
    struct Case {
        std::string text;
        std::string error;
    };
    const Case cases[] = {
        {"[Tag 1]\n", "line 1: [Header] must come first"},
        {head + "[Tag 1]\nOnline = yes\n", "line 5: 'yes' is not a number (Online)"},
        {head + "[Tag 1]\nOnline = 40000\n", "line 5: 40000 is out of range for Online (-32768 to 32767)"},
        {head + "[Tag 201]\n", "line 4: tag 201 is outside 1..200"},
        {head + "[Center 3]\n", "line 4: center (CenterCount 2) 3 is outside 1..2"},
        {head + "[Tag 1]\nColour = 1\n", "line 5: unknown key 'Colour' in [Tag 1]"},
        {head + "[Tag 1]\nOnline = 1\nOnline = 1\n", "line 6: Online given twice in [Tag 1]"},
        {head + "[Tag 1]\nTagName = \"" + std::string(25, 'x') + "\"\n",
         "line 5: TagName is 25 characters; the field holds 24"},
        {head + "[Tag 1]\nTagName = Incomer\n", "line 5: TagName needs a text in double quotes"},
        {head + "[Tag 1]\nTerm7 = 1 1 1\n", "line 5: Term7: maths terms are numbered 0 to 6"},
        {head + "[Tag 1]\nAux0 = 00\n", "line 5: Aux0: a tag has TariffEntryCount (0) aux entries, numbered from 0"},
        {head + "[Tag 1]\nMaxRate = 1.5kW\n", "line 5: '1.5kW' is not a number (MaxRate)"},
        {head + "[Tag 1]\n[Tag 1]\n", "line 5: section [Tag 1] given twice"},
        {head + "just words\n", "line 4: expected 'Key = value' or '[Section]'"},
        {"# counts too big\n[Header]\nTariffCount = 400\nTariffEntryCount = 20\n[Tag 1]\n",
         "line 2: 400 tariffs of 20 entries and 0 centers need tables larger than the monitor loads (at most 8192 "
         "elements each)"},
        {"[Header]\nTariffEntryCount = 40\n", "line 1: 0 tariffs of 40 entries and 0 centers need tables larger "
                                               "than the monitor loads (at most 8192 elements each)"},
        {"[Header]\nCenterCount = 8192\n", "line 1: 0 tariffs of 0 entries and 8192 centers need tables larger "
                                            "than the monitor loads (at most 8192 elements each)"},
        {"[Header]\n[Tariff 0]\n", "line 2: [Tariff 0]: there is no tariff (TariffCount 0) to describe"},
        {"\xEF\xBB\xBF[Header]\nCenterCount = x\n", "line 2: 'x' is not a number (CenterCount)"},
        {head + "\x01\x02 = 1\n", "line 4: unknown key '\\x01\\x02' in [Header]"},
        {head + "[Tag 1]\nOnline = " + std::string(60, '7') + "\n",
         "line 5: " + std::string(40, '7') + "... is out of range for Online (-32768 to 32767)"},
        {"", "no [Header] section"},
        {head + "[Center 1]\nValue5 = 99999999999999999999999\n",
         "line 5: 99999999999999999999999 is out of range for Value5 (-9223372036854775808 to 9223372036854775807)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(ReadSetupDescription(c.text).Error, c.error);
    }
}

} // namespace
