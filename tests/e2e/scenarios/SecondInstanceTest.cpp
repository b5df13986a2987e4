// A second voltamon in the same prefix is refused: it says the monitor is already loaded and
// ends by itself, while the first runs on.
#include "ScenarioRun.h"

namespace scenario {
namespace {

class SecondInstance : public ScenarioTest {};

TEST_F(SecondInstance, IsRefusedAndEndsWhileTheFirstRunsOn) {
    ASSERT_NO_FATAL_FAILURE(Launch(At(2026, 11, 19, 10, 2), 10, OneMeterSite("Twice", "Incomer", 100), RateTagSetup("Incomer"),
                                   "Two", 5, "errorlog=yes\nDiagFile=C:\\vtdiag.txt\n"));
    ASSERT_TRUE(WaitFor([&] { return !ScanStamps().empty() || !Alive(monitor_); }, 20s));

    others_.push_back(StartMonitor({}, "second"));
    const int code = WaitExit(others_.back(), 20s);
    EXPECT_NE(code, -1) << "the second instance did not end by itself";
    EXPECT_LT(code, 128) << "the second instance died of a signal";
    ASSERT_TRUE(Alive(monitor_)) << "the first instance ended";

    const std::string log = MainLog();
    EXPECT_EQ(Count(log, "Voltaris Monitor is already loaded"), 1);
    const std::string diag = ReadAll(root_ / "prefix" / "drives" / "c" / "vtdiag.txt");
    EXPECT_EQ(Count(diag, " energy monitor Loaded "), 1) << diag;
    EXPECT_EQ(Count(diag, " Voltaris Monitor already Loaded "), 1) << diag;

    // The first scans on.
    const std::size_t scans = ScanStamps().size();
    EXPECT_TRUE(WaitFor([&] { return ScanStamps().size() >= scans + 3 || !Alive(monitor_); }, 20s));
    EXPECT_TRUE(Alive(monitor_));
    ASSERT_NO_FATAL_FAILURE(StopHost());
    EXPECT_EQ(ErrorLines(), "");
}

}  // namespace
}  // namespace scenario
