// The PC clock kept in step with the host's hour pulse: the master clock runs 300 s ahead, so
// its pulse arrives at 09:55 PC time; the monitor sets the prefix's clock to 10:00 plus the
// configured 120 s, logs the step, and leaves the step out of its rate integration.
#include <algorithm>
#include <regex>

#include "ScenarioRun.h"

namespace scenario {
namespace {

constexpr int ScanSeconds = 10;
constexpr double Rate = 3600;  // one unit a second

const std::string Site = OneMeterSite("Sync", "Incomer", 3600) + R"(
[meter Master clock]
point = T100
kind = hourpulse
clock offset = 300
)";

const std::string Tags = RateTagSetup("Incomer");

class ClockSync : public ScenarioTest {};

TEST_F(ClockSync, HourPulseNearTheHourSetsTheClockToTheHourPlusOffset) {
    const Seconds day = At(2026, 11, 19, 0, 0);
    const Seconds pulse = At(2026, 11, 19, 9, 55);           // the master clock's 10:00
    const Seconds target = At(2026, 11, 19, 10, 0, 120);     // the full hour + Offset
    ASSERT_TRUE(SetClock(At(2026, 11, 19, 9, 48), 60));
    ASSERT_TRUE(StartHost(Site));
    ASSERT_TRUE(BuildSetup(Tags));
    WriteSettings("[general]\nStoreFilePrefix=Syn\ntimer1scan=" + std::to_string(ScanSeconds) +
                  "\nLogScans=1\n[Monitor_PC_Clock_Sync]\nInputTag=100\nOffset=120\n");
    monitor_ = StartMonitor();
    ASSERT_TRUE(WaitStarted("Syn", day));
    ASSERT_LT(Clock(), pulse - 60) << "start-up took until the pulse";

    const fs::path clockLog = programDir_ / "voltamon_PC_Clock.log";
    std::string logText;
    ASSERT_TRUE(WaitFor(
        [&] {
            logText = ReadAll(clockLog);
            return !logText.empty() || !Alive(monitor_);
        },
        30s));
    ASSERT_TRUE(Alive(monitor_)) << "the monitor ended";
    // Set forward to the hour plus Offset (and on by the time this look took).
    const Seconds after = Clock();
    EXPECT_GE(after, target);
    EXPECT_LT(after, target + 60);

    std::smatch m;
    const std::vector<std::string> lines = Lines(logText);
    ASSERT_FALSE(lines.empty());
    ASSERT_TRUE(std::regex_match(lines[0], m,
                                 std::regex(R"(Adjust PC Clock\. Before = Nov 19, 2026\. 09:(\d\d):(\d\d)\. )"
                                            R"(After = Nov 19, 2026\. 10:02:00\. \((-?\d+)secs\)\.)")))
        << lines[0];
    const Seconds before = At(2026, 11, 19, 9, std::stoi(m[1]), std::stoi(m[2]));
    // The host updates its points every 6 simulated seconds at this speed; the monitor looks every second.
    EXPECT_GE(before, pulse);
    EXPECT_LE(before, pulse + 20);
    EXPECT_EQ(std::stoll(m[3]), target - before);

    // Through the first period end after the step and the next one, faster.
    ASSERT_TRUE(SpeedUp(300));
    ASSERT_TRUE(RunUntil(At(2026, 11, 19, 10, 31), 30s));
    ASSERT_EQ(Host({"stop"}).ExitCode, 0);
    EXPECT_EQ(WaitExit(monitor_, 10s), 0);
    // One step only: the master clock's pulse is not seen again in this hour.
    EXPECT_EQ(Lines(ReadAll(clockLog)).size(), 1u) << ReadAll(clockLog);

    // The step is no flow: the period running at start-up (09:30 to 10:00, flag 0) holds the rate
    // times the time from start-up to its save less the step. Start-up and the save are seen as
    // scan-log stamps (whole seconds, a few seconds between a scan's reading and its save).
    const std::vector<Seconds> stamps = ScanStamps();
    ASSERT_GT(stamps.size(), 10u);
    const Seconds startUp = stamps.front();
    const auto save = std::find_if(stamps.begin(), stamps.end(), [&](Seconds s) { return s >= target; });
    ASSERT_NE(save, stamps.end());
    const StoreRecords records = Records(StoreFile("Syn", day));
    ASSERT_TRUE(records.Ok) << records.Error;
    const Record* p20 = records.Find(DateText(day), 20);
    const Record* p21 = records.Find(DateText(day), 21);
    ASSERT_TRUE(p20 && p21);
    EXPECT_EQ(p20->Flag, 0);
    EXPECT_NEAR(p20->Values[0], Rate * (*save - startUp - (target - before)) / 3600, Rate * 6 / 3600);
    // The next period: from that save to the first scan after 10:30.
    const Seconds gap = SaveLateness(stamps, At(2026, 11, 19, 10, 30), At(2026, 11, 19, 10, 30), 1800, ScanSeconds);
    EXPECT_EQ(p21->Flag, 1);
    EXPECT_NEAR(p21->Values[0], Rate * (At(2026, 11, 19, 10, 30) - *save) / 3600, Rate * (gap + 6) / 3600);
    EXPECT_EQ(ErrorLines(), "");
}

}  // namespace
}  // namespace scenario
