// Options > "Start &vtreport..." on the real main window and monitor: the report program is
// started from the program folder and opens the running job's store file of the month.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>

#include <QAction>
#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

#include "../core/MonitorFixture.h"
#include "UiTestSupport.h"
#include "support/Log.h"
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
        if (name.find_first_not_of("0123456789") != std::string::npos)
            continue;
        std::error_code linkError;
        if (fs::read_symlink(entry.path() / "exe", linkError) == program)
            pids.push_back(static_cast<pid_t>(std::stoi(name)));
    }
    return pids;
}

// Whether pid watches the file with this inode (its inotify descriptors list the inodes in hex).
bool Watches(pid_t pid, std::uintmax_t inode)
{
    std::ostringstream hex;
    hex << "ino:" << std::hex << inode << ' ';
    std::error_code ec;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/" + std::to_string(pid) + "/fdinfo", ec)) {
        std::ifstream in(entry.path());
        const std::string text((std::istreambuf_iterator<char>(in)), {});
        if (text.find("inotify") != std::string::npos && text.find(hex.str()) != std::string::npos)
            return true;
    }
    return false;
}

class ReportMenuTest : public MonitorTest {
protected:
    void SetUp() override
    {
        UiApp();  // offscreen, which the started program inherits
        MonitorTest::SetUp();
    }
};

TEST_F(ReportMenuTest, StartsTheReportProgramOnTheJobsStoreFile)
{
    const char* bin = std::getenv("VT_BIN_DIR");
    if (!bin || !fs::exists(fs::path(bin) / "vtreport"))
        GTEST_SKIP() << "vtreport not built beside the tests";
    // The monitor's program folder holds its programs; a copy of its own, so the test finds its process.
    const fs::path program = host.ProgramDir() / "vtreport";
    fs::copy_file(fs::path(bin) / "vtreport", program);
    Start();
    std::unique_ptr<frmMain> window = CreateMainWindow(*monitor);
    QAction* item = window->findChild<QAction*>("loadvoltaris");
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->text(), "Start &vtreport...");

    // The month's store file the monitor made at start-up.
    const fs::path store = LocalPath("C:\\Telvane\\Job1\\Data\\Voltaris\\Test2611.lum");
    ASSERT_TRUE(fs::exists(store)) << store;

    struct stat info {};
    ASSERT_EQ(::stat(store.c_str(), &info), 0);

    item->trigger();
    EXPECT_FALSE(Logged("loadvoltaris_Click, Error 53/ File not found"));
    pid_t pid = 0;
    bool watching = false;
    for (int i = 0; i < 100 && !watching; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        const std::vector<pid_t> pids = Running(program);
        pid = pids.empty() ? 0 : pids.front();
        watching = pid != 0 && Watches(pid, info.st_ino);
    }
    ASSERT_NE(pid, 0) << "vtreport did not start from " << program;
    EXPECT_TRUE(watching) << "vtreport does not watch " << store;
    ::kill(pid, SIGTERM);
    for (int i = 0; i < 100 && !Running(program).empty(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(Running(program).empty());
}

} // namespace
