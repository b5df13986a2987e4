#include "support/Log.h"

#include <gtest/gtest.h>

#include "common/TempPrefix.h"
#include "platform/Clock.h"
#include "platform/DateSerial.h"
#include "platform/Paths.h"
#include "platform/Programs.h"

namespace fs = std::filesystem;

namespace {

class LogTest : public ::testing::Test {
protected:
    void SetUp() override {
        // 5 Nov 2026 14:07:09, frozen in practice: a very slow simulated clock.
        ASSERT_FALSE(ClockSimulate(MakeDateTime(2026, 11, 5, 14, 7, 9), 1e-9).Failed());
        SetDebugMode(false);
        SetLogFailurePrompt(nullptr, nullptr);
    }
    void TearDown() override {
        SetDebugMode(false);
        SetLogFailurePrompt(nullptr, nullptr);
    }
    fs::path Program(const std::string& name) const { return prefix.ProgramDir() / name; }

    TempPrefix prefix;
};

TEST_F(LogTest, GenerationNamesFollowEachLogsRule) {
    EXPECT_EQ(GenerationName("/p/voltamon.log", 1, GenerationNaming::AtNumber), "/p/voltamon.@01");
    EXPECT_EQ(GenerationName("/p/voltamon.log", 4, GenerationNaming::AtNumber), "/p/voltamon.@04");
    EXPECT_EQ(GenerationName("C:\\x\\vtcsvlog.log", 5, GenerationNaming::AtNumber), "C:\\x\\vtcsvlog.@05");
    EXPECT_EQ(GenerationName("/p/voltamon.err", 1, GenerationNaming::LastCharNumber), "/p/voltamon.er1");
    EXPECT_EQ(GenerationName("/p/clock.log", 2, GenerationNaming::LastCharNumber), "/p/clock.lo2");
}

TEST_F(LogTest, MainLogLineHasStampSeparatorAndCrLf) {
    AddToLog("hello");
    AddToLog("second");
    EXPECT_EQ(TempPrefix::Read(Program("voltamon.log")),
              "05/11/26 14:07:09 - hello\r\n05/11/26 14:07:09 - second\r\n");
}

TEST_F(LogTest, ErrorReportIsKeptAndLogged) {
    ReportError("GetIniData", VbError(13));
    EXPECT_EQ(LastErrorText, "GetIniData, Error 13/ Type mismatch");
    EXPECT_EQ(TempPrefix::Read(Program("voltamon.log")),
              "05/11/26 14:07:09 - GetIniData, Error 13/ Type mismatch\r\n");
    EXPECT_EQ(ClassErrorReport("clsMisc", "CenterForm", VbError(5)),
              "clsMisc,CenterForm,,5,Invalid procedure call or argument");
}

TEST_F(LogTest, MainLogAtLimitAppendsAndOneByteOverRotatesEveryGeneration) {
    const fs::path log = Program("voltamon.log");
    TempPrefix::Write(log, std::string(1200000, 'a'));
    AddToLog("x");
    const std::string line = "05/11/26 14:07:09 - x\r\n";
    EXPECT_EQ(fs::file_size(log), 1200000 + line.size());
    EXPECT_FALSE(fs::exists(Program("voltamon.@01")));

    TempPrefix::Write(log, std::string(1200001, 'L'));
    TempPrefix::Write(Program("voltamon.@01"), "one");
    TempPrefix::Write(Program("voltamon.@02"), "two");
    TempPrefix::Write(Program("voltamon.@03"), "three");
    TempPrefix::Write(Program("voltamon.@04"), "four");
    AddToLog("x");
    EXPECT_EQ(TempPrefix::Read(log), line);
    EXPECT_EQ(TempPrefix::Read(Program("voltamon.@01")), std::string(1200001, 'L'));
    EXPECT_EQ(TempPrefix::Read(Program("voltamon.@02")), "one");
    EXPECT_EQ(TempPrefix::Read(Program("voltamon.@03")), "two");
    EXPECT_EQ(TempPrefix::Read(Program("voltamon.@04")), "three");
    EXPECT_FALSE(fs::exists(Program("voltamon.@05")));
}

TEST_F(LogTest, RotationWithOnlyTheLogSkipsMissingGenerations) {
    TempPrefix::Write(Program("voltamon.log"), std::string(1300000, 'L'));
    AddToLog("x");
    EXPECT_EQ(fs::file_size(Program("voltamon.@01")), 1300000u);
    EXPECT_FALSE(fs::exists(Program("voltamon.@02")));
    EXPECT_FALSE(fs::exists(Program("voltamon.@03")));
    EXPECT_FALSE(fs::exists(Program("voltamon.@04")));
}

TEST_F(LogTest, CsvRuleKeepsFiveGenerationsAtItsOwnLimit) {
    const std::string file = (prefix.ProgramDir() / "vtcsvlog.log").string();
    TempPrefix::Write(file, std::string(600001, 'c'));
    for (int i = 1; i <= 4; ++i) TempPrefix::Write(GenerationName(file, i, GenerationNaming::AtNumber), std::to_string(i));
    ASSERT_FALSE(RotatingAppend(file, "line", CsvLogRotation).Failed());
    EXPECT_EQ(TempPrefix::Read(file), "line\r\n");
    EXPECT_EQ(TempPrefix::Read(GenerationName(file, 5, GenerationNaming::AtNumber)), "4");
    EXPECT_EQ(TempPrefix::Read(GenerationName(file, 2, GenerationNaming::AtNumber)), "1");
}

TEST_F(LogTest, ClsLogErrorFileIsLowerCaseAndRotatesToEr1) {
    clsLog log;
    const std::string expected = PathJoin(ProgramFolder(), ProgramName());
    ASSERT_GE(log.ErrFile().size(), 4u);
    EXPECT_EQ(log.ErrFile().substr(log.ErrFile().size() - 4), ".err");
    for (char c : log.ErrFile()) EXPECT_FALSE(c >= 'A' && c <= 'Z') << log.ErrFile();

    TempPrefix::Write(LocalPath(log.ErrFile()), std::string(1200001, 'e'));
    log.LogError("clsMisc,CenterForm,,5,x");
    EXPECT_EQ(TempPrefix::Read(LocalPath(log.ErrFile())), "05/11/26 14:07:09 - clsMisc,CenterForm,,5,x\r\n");
    std::string er1 = log.ErrFile();
    er1.back() = '1';
    EXPECT_EQ(fs::file_size(LocalPath(er1)), 1200001u);
}

TEST_F(LogTest, UnwritableMainLogAsksOnlyInDebugModeAndYesCloses) {
    // A folder where the log should be: no file can be written there, whoever runs the test.
    fs::create_directories(Program("voltamon.log"));
    int asked = 0;
    int closed = 0;
    std::string title;
    std::string text;
    SetLogFailurePrompt(
        [&](const std::string& t, const std::string& q) { ++asked; title = t; text = q; return true; },
        [&] { ++closed; });

    AddToLog("lost");
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(closed, 0);

    SetDebugMode(true);
    AddToLog("lost again");
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(closed, 1);
    EXPECT_EQ(title, "Voltaris Monitor");
    EXPECT_EQ(text.rfind("AddToLog, Error ", 0), 0u) << text;
    EXPECT_NE(text.find("/ "), std::string::npos);
    EXPECT_NE(text.find("\r\n\r\nDo you wish to terminate the Voltaris Monitor?"), std::string::npos) << text;
}

TEST_F(LogTest, DiagnosticFileIsDeletedOnlyAboveFiveMillionBytes) {
    const fs::path diag = prefix.Prefix() / "drives" / "c" / "lumdiag.txt";
    TempPrefix::Write(diag, std::string(5000000, 'd'));
    // The existing file is found whatever the case of the name asked for.
    WriteDiagnosticLine("C:\\LUMDIAG.TXT", " energy monitor Loaded ");
    EXPECT_EQ(fs::file_size(diag), 5000000u + 17 + 23 + 2);

    TempPrefix::Write(diag, std::string(5000001, 'd'));
    WriteDiagnosticLine("c:\\lumdiag.txt", " energy monitor Loaded ");
    EXPECT_EQ(TempPrefix::Read(diag), "05/11/26 14:07:09 energy monitor Loaded \r\n");
}

} // namespace
