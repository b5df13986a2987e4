// The command lines of vt-mtg and vt-store: help, version, refused options, and vt-mtg's refusal
// of a setup the monitor cannot use.
#include <cstdlib>

#include "FilesTestSupport.h"

using namespace filestest;

namespace {

class ToolCommandLineTest : public TempPrefixTest {
protected:
    void SetUp() override
    {
        TempPrefixTest::SetUp();
        const char* bin = std::getenv("VT_BIN_DIR");
        if (!bin || !fs::exists(fs::path(bin) / "vt-mtg") || !fs::exists(fs::path(bin) / "vt-store"))
            GTEST_SKIP() << "the tools are not built beside the tests";
        bin_ = bin;
    }

    // Runs a tool with its arguments as given (quote paths); gives the exit status, fills out / err.
    int Run(const std::string& program, const std::string& args)
    {
        const std::string command = (bin_ / program).string() + " " + args + " > '" + (root / "out").string() +
                                    "' 2> '" + (root / "err").string() + "'";
        const int status = std::system(command.c_str());
        out = ReadBytes(root / "out");
        err = ReadBytes(root / "err");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    fs::path bin_;
    std::string out, err;
};

TEST_F(ToolCommandLineTest, HelpVersionAndRefusedOptions)
{
    for (const std::string program : {"vt-mtg", "vt-store"}) {
        SCOPED_TRACE(program);
        ASSERT_EQ(Run(program, "--help"), 0);
        const std::string usage = out;
        EXPECT_EQ(usage.rfind("usage: " + program + " ", 0), 0u) << usage;
        EXPECT_NE(usage.find("The prefix is $VOLTARIS_PREFIX"), std::string::npos) << usage;
        EXPECT_NE(usage.find("~/.voltaris"), std::string::npos) << usage;
        EXPECT_EQ(err, "");
        EXPECT_EQ(Run(program, "help"), 0);
        EXPECT_EQ(out, usage);

        ASSERT_EQ(Run(program, "--version"), 0);
        EXPECT_EQ(out.rfind(program + " ", 0), 0u) << out;
        EXPECT_NE(out.find("\nbuild: "), std::string::npos) << out;
        EXPECT_EQ(out.back(), '\n');

        // An unknown option anywhere is refused before anything is done, with the usage.
        const std::pair<std::string, std::string> refused[] = {
            {"--frobnicate", "unknown option '--frobnicate'"},
            {"dump --frobnicate x", "unknown option '--frobnicate'"},
            {"info x --verbose=1", "unknown option '--verbose=1'"},
            {"", "give a command"},
            {"frobnicate x", "unknown command 'frobnicate'"},
            {"dump", program == "vt-mtg" ? "'dump' takes one path" : "unknown command 'dump'"},
            {"info a b", program == "vt-mtg" ? "unknown command 'info'" : "'info' takes one path"},
            {program == "vt-mtg" ? "--force dump x" : "--saved info x",
             program == "vt-mtg" ? "--force goes with 'build'" : "--saved goes with 'records'"},
        };
        for (const auto& [args, message] : refused) {
            EXPECT_EQ(Run(program, args), 2) << args;
            EXPECT_EQ(err, program + ": " + message + "\n" + usage) << args;
            EXPECT_EQ(out, "") << args;
        }
        // "--" ends the options: what follows is a path, however it looks.
        EXPECT_EQ(Run(program, program == "vt-mtg" ? "dump -- --frobnicate" : "info -- --frobnicate"), 1);
        EXPECT_NE(err.find("--frobnicate"), std::string::npos) << err;
        EXPECT_EQ(err.find("unknown option"), std::string::npos) << err;
    }
}

TEST_F(ToolCommandLineTest, BuildRefusesSetupTheMonitorCannotUseUnlessForced)
{
    const fs::path desc = root / "site.vtm", out_mtg = root / "Site.MTG";
    WriteBytes(desc, "[Header]\n"
                     "SetupVersion = 240\n"
                     "PeriodsPerDay = 48\n"
                     "\n"
                     "[Tag 1]\n"
                     "Online = 1\n"
                     "TagType = 1\n"
                     "ScanType = 22\n"
                     "HostTagNumber = 12\n"
                     "\n"
                     "[Tag 2]\n"
                     "Online = 1\n"
                     "TagType = 1\n"
                     "ScanType = 19\n");
    const std::string expected = "vt-mtg: " + desc.string() + ": line 2: SetupVersion 240: the monitor loads version "
                                 "250 and later only\n"
                                 "vt-mtg: " + desc.string() + ": line 5: [Tag 1] ScanType 22 (Pulse - Scada Tag) reads "
                                 "the host tag numbered by PageNo, and PageNo is 0 (not given)\n"
                                 "vt-mtg: " + desc.string() + ": line 14: [Tag 2] ScanType 19 is not a scan type the "
                                 "monitor knows\n";
    EXPECT_EQ(Run("vt-mtg", "build '" + desc.string() + "' '" + out_mtg.string() + "'"), 1);
    EXPECT_EQ(err, expected + "vt-mtg: " + out_mtg.string() +
                       " not written: the monitor cannot use this setup (--force builds it anyway)\n");
    EXPECT_FALSE(fs::exists(out_mtg.string() + ".new"));
    // An existing file is left as it was.
    WriteBytes(out_mtg, "old");
    EXPECT_EQ(Run("vt-mtg", "build '" + desc.string() + "' '" + out_mtg.string() + "'"), 1);
    EXPECT_EQ(ReadBytes(out_mtg), "old");

    // Forced, the same problems are told and the file is built, with the values as given.
    EXPECT_EQ(Run("vt-mtg", "build --force '" + desc.string() + "' '" + out_mtg.string() + "'"), 0);
    EXPECT_EQ(err, expected);
    const std::string built = ReadBytes(out_mtg);
    ASSERT_EQ(built.size(), 112196u + 67 * 30);
    EXPECT_EQ(Get16(built, 0), 240);
}

} // namespace
