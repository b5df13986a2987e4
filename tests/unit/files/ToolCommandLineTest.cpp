// vt-mtg and vt-store as programs: command lines they refuse, vt-mtg's build and dump, and its
// refusal of a setup the monitor cannot use. (--help, --version and a leading unknown option are
// checked on the installed package.)
#include "FilesTestSupport.h"
#include "files/SetupDescription.h"
#include "files/SetupFileImage.h"

using namespace filestest;

namespace {

class ToolCommandLineTest : public TempPrefixTest {
protected:
    void SetUp() override
    {
        TempPrefixTest::SetUp();
        if (ToolPath("vt-mtg").empty() || ToolPath("vt-store").empty())
            GTEST_SKIP() << "the tools are not built beside the tests";
    }
};

TEST_F(ToolCommandLineTest, RefusedCommandLinesGiveTheReasonAndTheUsage)
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

TEST_F(ToolCommandLineTest, MtgBuildAndDumpRoundTrip)
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

TEST_F(ToolCommandLineTest, BuildRefusesSetupTheMonitorCannotUseUnlessForced)
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
