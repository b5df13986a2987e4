// Options > "Start &vtreport..." on the real main window and monitor: the report program is
// started from the program folder. Which store file it then opens is JobStoreFileTest's.
#include <gtest/gtest.h>

#include <signal.h>

#include <QAction>
#include <chrono>
#include <thread>

#include "../core/MonitorFixture.h"
#include "UiTestSupport.h"
#include "ui/frmMain.h"

namespace {

namespace fs = std::filesystem;

// The processes running program (by the file they run).
std::vector<pid_t> Running(const fs::path& program)
{
    std::vector<pid_t> pids;
    std::error_code ec;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc", ec)) {
        const std::string name = entry.path().filename().string();
        std::error_code linkError;
        if (name.find_first_not_of("0123456789") == std::string::npos &&
            fs::read_symlink(entry.path() / "exe", linkError) == program)
            pids.push_back(static_cast<pid_t>(std::stoi(name)));
    }
    return pids;
}

class ReportMenuTest : public MonitorTest {
protected:
    void SetUp() override
    {
        UiApp();  // offscreen, which the started program inherits
        MonitorTest::SetUp();
    }
};

TEST_F(ReportMenuTest, StartsTheReportProgramFromTheProgramFolder)
{
    const char* bin = std::getenv("VT_BIN_DIR");
    if (!bin || !fs::exists(fs::path(bin) / "vtreport"))
        GTEST_SKIP() << "vtreport not built beside the tests";
    // A copy of its own, so the test finds its process.
    const fs::path program = host.ProgramDir() / "vtreport";
    fs::copy_file(fs::path(bin) / "vtreport", program);
    Start();
    std::unique_ptr<frmMain> window = CreateMainWindow(*monitor);
    QAction* item = window->findChild<QAction*>("loadvoltaris");
    ASSERT_NE(item, nullptr);
    item->trigger();
    EXPECT_FALSE(Logged("loadvoltaris_Click, Error 53/ File not found"));
    std::vector<pid_t> pids;
    for (int i = 0; i < 100 && pids.empty(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        pids = Running(program);
    }
    ASSERT_EQ(pids.size(), 1u) << "vtreport did not start from " << program;
    ::kill(pids[0], SIGTERM);
    for (int i = 0; i < 100 && !Running(program).empty(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(Running(program).empty());
}

} // namespace
