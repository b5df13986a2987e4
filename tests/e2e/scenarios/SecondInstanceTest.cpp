// A second voltamon in the same prefix is refused: it says the monitor is already loaded and
// ends by itself, while the first runs on.
#include "ScenarioRun.h"

namespace scenario {
namespace {

const std::string Site = OneMeterSite("Twice", "Incomer", 100);

const std::string Tags = RateTagSetup("Incomer");

std::size_t Count(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

class SecondInstance : public ScenarioTest {};

TEST_F(SecondInstance, IsRefusedAndEndsWhileTheFirstRunsOn) {
    ASSERT_TRUE(SetClock(At(2026, 11, 19, 10, 2), 10));
    ASSERT_TRUE(StartHost(Site));
    ASSERT_TRUE(BuildSetup(Tags));
    WriteSettings("[general]\nStoreFilePrefix=Two\ntimer1scan=5\nLogScans=1\nerrorlog=yes\nDiagFile=C:\\vtdiag.txt\n");
    monitor_ = StartMonitor();
    ASSERT_TRUE(WaitStarted("Two", At(2026, 11, 1, 0, 0)));
    ASSERT_TRUE(WaitFor([&] { return !ScanStamps().empty() || !Alive(monitor_); }, 20s));

    pid_t second = StartMonitor({}, "second");
    others_.push_back(second);
    const int code = WaitExit(others_.back(), 20s);
    EXPECT_NE(code, -1) << "the second instance did not end by itself";
    EXPECT_LT(code, 128) << "the second instance died of a signal";
    ASSERT_TRUE(Alive(monitor_)) << "the first instance ended";

    const std::string log = MainLog();
    EXPECT_EQ(Count(log, "Voltaris Monitor is already loaded"), 1u);
    const std::string diag = ReadAll(root_ / "prefix" / "drives" / "c" / "vtdiag.txt");
    EXPECT_EQ(Count(diag, " energy monitor Loaded "), 1u) << diag;
    EXPECT_EQ(Count(diag, " Voltaris Monitor already Loaded "), 1u) << diag;

    // The first scans on.
    const std::size_t scans = ScanStamps().size();
    EXPECT_TRUE(WaitFor([&] { return ScanStamps().size() >= scans + 3 || !Alive(monitor_); }, 20s));
    EXPECT_TRUE(Alive(monitor_));
    ASSERT_EQ(Host({"stop"}).ExitCode, 0);
    EXPECT_EQ(WaitExit(monitor_, 10s), 0);
    EXPECT_EQ(ErrorLines(), "");
}

}  // namespace
}  // namespace scenario
