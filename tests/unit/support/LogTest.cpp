#include "support/Log.h"

#include <gtest/gtest.h>

#include "common/TempPrefix.h"
#include "platform/Clock.h"
#include "platform/DateSerial.h"
#include "platform/Paths.h"
#include "platform/Programs.h"
#include "support/VbText.h"

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

// Stamp, separator and CR LF; an error report is kept and logged in the "Procedure, Error n/ text" form.
TEST_F(LogTest, MainLogLinesAndErrorReports) {
    AddToLog("hello");
    ReportError("GetIniData", VbError(13));
    EXPECT_EQ(LastErrorText, "GetIniData, Error 13/ Type mismatch");
    EXPECT_EQ(TempPrefix::Read(Program("voltamon.log")),
              "05/11/26 14:07:09 - hello\r\n05/11/26 14:07:09 - GetIniData, Error 13/ Type mismatch\r\n");
    EXPECT_EQ(ClassErrorReport("clsMisc", "CenterForm", VbError(5)),
              "clsMisc,CenterForm,,5,Invalid procedure call or argument");
}

TEST_F(LogTest, MainLogAtLimitAppendsAndOneByteOverRotatesEveryGeneration) {
    const fs::path log = Program("voltamon.log");
    auto generation = [&](int n) { return Program("voltamon.@0" + std::to_string(n)); };
    TempPrefix::Write(log, std::string(1200000, 'a'));
    AddToLog("x");
    const std::string line = "05/11/26 14:07:09 - x\r\n";
    EXPECT_EQ(fs::file_size(log), 1200000 + line.size());
    EXPECT_FALSE(fs::exists(generation(1)));

    TempPrefix::Write(log, std::string(1200001, 'L'));
    const char* older[] = {"one", "two", "three", "four"};
    for (int n = 1; n <= 4; ++n) TempPrefix::Write(generation(n), older[n - 1]);
    AddToLog("x");
    EXPECT_EQ(TempPrefix::Read(log), line);
    EXPECT_EQ(TempPrefix::Read(generation(1)), std::string(1200001, 'L'));
    for (int n = 2; n <= 4; ++n) EXPECT_EQ(TempPrefix::Read(generation(n)), older[n - 2]);
    EXPECT_FALSE(fs::exists(generation(5)));

    // With only the log, the missing generations are skipped.
    for (int n = 1; n <= 4; ++n) fs::remove(generation(n));
    TempPrefix::Write(log, std::string(1300000, 'L'));
    AddToLog("x");
    EXPECT_EQ(fs::file_size(generation(1)), 1300000u);
    for (int n = 2; n <= 5; ++n) EXPECT_FALSE(fs::exists(generation(n))) << n;
}

TEST_F(LogTest, ClsLogErrorFileIsLowerCaseAndRotatesToEr1) {
    clsLog log;
    // Lower case even where the program folder is not: found through the case-blind lookup.
    EXPECT_EQ(log.ErrFile(), LCase(PathJoin(LogFolder(), ProgramName())) + ".err");

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
    int asked = 0, closed = 0;
    std::string title, text;
    SetLogFailurePrompt(
        [&](const std::string& t, const std::string& q) { ++asked; title = t; text = q; return true; },
        [&] { ++closed; });

    testing::internal::CaptureStderr();
    AddToLog("lost");
    EXPECT_EQ(asked + closed, 0);
    SetDebugMode(true);
    AddToLog("lost again");
    EXPECT_EQ(std::make_pair(asked, closed), std::make_pair(1, 1));
    // Whatever the mode, the terminal (or the service journal) hears of it once, with the path.
    const std::string err = testing::internal::GetCapturedStderr();
    const std::string said = "cannot write the log " + Program("voltamon.log").string() + " (Error ";
    EXPECT_NE(err.find(said), std::string::npos) << err;
    EXPECT_EQ(err.find("cannot write the log", err.find(said) + 1), std::string::npos) << err;
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

}  // namespace
