// The tag setup file saved again while the monitor runs: a tag renamed and a tag added. The next
// scan reloads it: the store file's tag section and records carry the new setup, the new tag is
// scanned and saved, and the monitor runs on.
#include <thread>

#include "ScenarioRun.h"

namespace scenario {
namespace {

constexpr double Speed = 240;
constexpr int ScanSeconds = 10;
constexpr double IncomerRate = 400;  // 100 a quarter hour
constexpr double FeederRate = 200;   // 50 a quarter hour

const std::string Site = OneMeterSite("Reload", "Incomer", IncomerRate) + R"(
[meter Feeder]
point = T2
kind = rate
rate = 200
)";

const std::string Before = RateTagSetup("Incomer", "", 96);

// Tag 1 renamed, tag 2 added.
const std::string After = RateTagSetup("Incomer A", Tag(2, "Feeder", 24), 96);

class SetupReload : public ScenarioTest {};

TEST_F(SetupReload, ChangedSetupFileIsReloadedByTheNextScanAndTheMonitorRunsOn) {
    const Seconds day = At(2026, 11, 19, 0, 0);
    ASSERT_NO_FATAL_FAILURE(Launch(At(2026, 11, 19, 10, 4), 60, Site, Before, "Rel", ScanSeconds));
    const auto firstBuild = std::chrono::system_clock::now();  // a little after it, in fact
    ASSERT_LT(Clock(), At(2026, 11, 19, 10, 15)) << "start-up took the whole first period";
    ASSERT_TRUE(SpeedUp(Speed));
    const std::string store = StoreFile("Rel", day);
    {
        const Result info = Run(VT_STORE_PROGRAM, {"info", store});
        ASSERT_EQ(info.ExitCode, 0) << info.Err;
        EXPECT_NE(info.Out.find("Incomer"), std::string::npos) << info.Out;
        EXPECT_EQ(info.Out.find("Feeder"), std::string::npos) << info.Out;
    }

    // Into period 42 (10:15 to 10:30), then the setup program saves the file again. The monitor
    // compares modification times in whole seconds, so the new file is a second younger at least.
    ASSERT_TRUE(RunUntil(At(2026, 11, 19, 10, 17), 30s));
    std::this_thread::sleep_until(firstBuild + 1100ms);
    const Seconds rewritten = Clock();  // just before the new file is written
    ASSERT_TRUE(BuildSetup(After));

    // The next scan reloads: the store file's tag section shows the new names.
    std::string info;
    EXPECT_TRUE(WaitFor(
        [&] {
            info = Run(VT_STORE_PROGRAM, {"info", store}).Out;
            return info.find("Feeder") != std::string::npos || !Alive(monitor_);
        },
        20s))
        << info;
    ASSERT_TRUE(Alive(monitor_));
    const Seconds seen = Clock();
    // A scan interval, and half a real second for this polling.
    EXPECT_LE(seen - rewritten, ScanSeconds + 0.5 * Speed) << "the reload waited for more than a scan";
    EXPECT_NE(info.find("Incomer A"), std::string::npos) << info;

    // Two more saves: 10:30 (period 42, the reload in it) and 10:45 (period 43, wholly after it).
    ASSERT_TRUE(WaitSaved(At(2026, 11, 19, 10, 45), 30s));
    ASSERT_NO_FATAL_FAILURE(StopHost());

    const StoreRecords records = Records(store);
    ASSERT_TRUE(records.Ok) << records.Error;
    ASSERT_EQ(records.Columns, (std::vector<std::string>{"Incomer A", "Feeder"}));
    // As in the other scenarios: a quarter hour, give or take the latest save scan's delay.
    const std::vector<Seconds> stamps = ScanStamps();
    ASSERT_GT(stamps.size(), 20u);
    const Seconds gap = SaveLateness(stamps, At(2026, 11, 19, 10, 15), At(2026, 11, 19, 10, 45), 900, ScanSeconds);
    const double hours = (gap + 10) / 3600.0;

    const std::string date = DateText(day);
    const Record* p41 = records.Find(date, 41);
    const Record* p42 = records.Find(date, 42);
    const Record* p43 = records.Find(date, 43);
    ASSERT_TRUE(p41 && p42 && p43);
    EXPECT_EQ(p41->Flag, 0);  // running at start-up
    EXPECT_GT(p41->Values[0], 0.0);
    EXPECT_EQ(p41->Values[1], 0.0);
    EXPECT_EQ(p42->Flag, 1);
    EXPECT_NEAR(p42->Values[0], IncomerRate / 4, IncomerRate * hours);
    EXPECT_GT(p42->Values[1], 0.0) << "the added tag was not scanned in the period of the reload";
    EXPECT_EQ(p43->Flag, 1);
    EXPECT_NEAR(p43->Values[0], IncomerRate / 4, IncomerRate * hours);
    EXPECT_NEAR(p43->Values[1], FeederRate / 4, FeederRate * hours);

    // The scan log: the added tag is scanned after the reload, and never before it.
    bool before = false, after = false;
    for (const std::string& line : Lines(MainLog())) {
        Seconds stamp = 0;
        if (line.find(" - M1,") == std::string::npos || !ParseLogStamp(line, stamp)) continue;
        const bool withFeeder = line.find(";M2,") != std::string::npos;
        if (stamp < rewritten) before = before || withFeeder;
        if (stamp > seen) after = after || withFeeder;
    }
    EXPECT_FALSE(before);
    EXPECT_TRUE(after);
    EXPECT_EQ(ErrorLines(), "");
}

}  // namespace
}  // namespace scenario
