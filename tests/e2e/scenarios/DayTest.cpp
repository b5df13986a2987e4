// A whole simulated day of 48 demand periods: a constant rate, a running total, a pulse counter
// that wraps several times, a maths tag over the rate and the pulses, and a display of the rate
// on line 1. Every record of the day is checked against what the meters delivered, and so are
// the host points the monitor writes back and the peak table.
#include <algorithm>
#include <cmath>
#include <sstream>

#include "ScenarioRun.h"

namespace scenario {
namespace {

constexpr double Speed = 1080;       // a simulated day in 80 s
constexpr int ScanSeconds = 20;
constexpr double SteadyRate = 600;   // host reading 150 x 4 units per pulse
constexpr double RunningRate = 900;
constexpr double RunningStart = 5000;
constexpr double PulseRate = 600;    // 1200 pulses of 0.5 an hour; the counter wraps every 4 h 10 min
constexpr double UnitsPerPulse = 0.5;

const std::string Site = OneMeterSite("Day", "Steady", 150) + R"(
[meter Running]
point = T2
kind = total
rate = 900
start = 5000

[meter Pulses]
point = T3
kind = pulse
rate = 600
units per pulse = 0.5
rollover = 5000
)";

// Steady's rate goes back to host tag 101; Combined is 2 x Steady + 0.5 x Pulses.
const std::string Tags = RateTagSetup("Steady", "UnitsPerPulse = 4\nHostTagNumber = 101\nInTotal = 1\n") + Tag(2, "Running", 28) +
                         Tag(3, "Pulses", 22, "UnitsPerPulse = 0.5\nRolloverValue = 5000\nInTotal = 1\n") +
                         Tag(4, "Combined", 8, "Term0 = 1 0 2\nTerm1 = 3 1 0.5\n") + R"(
[Tag 5]
TagName = "Display"
Online = 1
TagType = 3
DisplaySourceIsTag = 1
DisplaySource = 1
RecorderNo = 1
PageNo = 1
LineNo = 1
)";

class Day : public ScenarioTest {};

TEST_F(Day, EveryPeriodOfTheDayHoldsWhatTheMetersDelivered) {
    const Seconds day = At(2026, 11, 19, 0, 0);
    // Slow while the programs start, so start-up falls in the first period of the day.
    ASSERT_TRUE(SetClock(At(2026, 11, 19, 0, 4), 60));
    const Seconds hostBefore = Clock();
    ASSERT_TRUE(StartHost(Site));
    const Seconds hostAfter = Clock();
    ASSERT_TRUE(BuildSetup(Tags));
    WriteSettings("[general]\nStoreFilePrefix=Day\ntimer1scan=" + std::to_string(ScanSeconds) + "\nLogScans=1\n");

    const Seconds monitorBefore = Clock();
    monitor_ = StartMonitor();
    ASSERT_TRUE(WaitStarted("Day", day));
    const Seconds monitorAfter = Clock();
    ASSERT_LT(monitorAfter, day + 1800) << "start-up took the whole first period";
    ASSERT_TRUE(SpeedUp(Speed));
    // Past the save of the day's last period.
    ASSERT_TRUE(WaitSaved(day + 86400, 150s));
    // The rate written back, and the display of the period so far on line 1.
    const std::vector<std::string> points = Lines(Host({"get", "T101", "L1"}).Out);
    ASSERT_EQ(points.size(), 2u);
    EXPECT_FLOAT_EQ(std::stof(points[0]), SteadyRate);
    EXPECT_GT(std::stof(points[1]), 0.0f);
    EXPECT_LE(std::stof(points[1]), SteadyRate / 2 + 1);
    // The host stops before the next day's first period ends; the monitor ends with it.
    ASSERT_NO_FATAL_FAILURE(StopHost());

    // Where users find the file, the fixture itself goes by what the host reports.
    const StoreRecords records = Records("C:\\Telvane5\\Jobs\\Day\\Data\\Voltaris\\Day2611.lum");
    ASSERT_TRUE(records.Ok) << records.Error;
    ASSERT_EQ(records.Heading, "date,period,end,flag,Steady,Running,Pulses,Combined,Display");
    const std::string date = DateText(day);

    // A period spans from one save scan to the next: 30 minutes give or take the latest save's
    // lateness (gap), E for whole-second stamps and the save itself, and L for a host reading up to
    // three host updates old. The day's sum telescopes: its error is that of its two ends.
    const std::vector<Seconds> stamps = ScanStamps();
    ASSERT_GT(stamps.size(), 86400u / ScanSeconds / 2) << "too few scans logged";
    const Seconds gap = SaveLateness(stamps, day + 1800, day + 86400, 1800, ScanSeconds);
    ASSERT_LE(gap, 300) << "a period was saved " << gap << " simulated seconds after its end; the machine is too "
                        << "busy for the bounds below to say anything";
    RecordProperty("save_lateness_seconds", static_cast<int>(gap));
    const double E = 5;
    const double L = 3 * 0.1 * Speed;
    const double steadyTolerance = SteadyRate * (gap + 2 * E) / 3600;
    const double pulseTolerance = PulseRate * (gap + 2 * E + L) / 3600 + UnitsPerPulse;
    const double runningTolerance = RunningRate * (gap + 2 * E + L) / 3600;

    // The first period after start-up: partial, flagged 0, from start-up to its end.
    const Record* first = records.Find(date, 1);
    ASSERT_NE(first, nullptr);
    {
        SCOPED_TRACE("period 1, the one running at start-up");
        EXPECT_EQ(first->Flag, 0);
        const double longest = (day + 1800 + gap + E - monitorBefore) / 3600.0;
        const double shortest = (day + 1800 - E - monitorAfter) / 3600.0;
        EXPECT_GE(first->Values[0], SteadyRate * shortest);
        EXPECT_LE(first->Values[0], SteadyRate * longest);
        EXPECT_GE(first->Values[2], PulseRate * (shortest - L / 3600) - UnitsPerPulse);
        EXPECT_LE(first->Values[2], PulseRate * (longest + L / 3600) + UnitsPerPulse);
        // A total tag stores the meter's reading: the start plus what flowed since the host began.
        EXPECT_GE(first->Values[1], RunningStart + RunningRate * (day + 1800 - E - L - hostAfter) / 3600);
        EXPECT_LE(first->Values[1], RunningStart + RunningRate * (day + 1800 + gap + E - hostBefore) / 3600);
    }

    double steadySum = 0, pulseSum = 0, highest = 0;
    std::set<Period> saved;
    for (int period = 1; period <= 48; ++period) {
        SCOPED_TRACE("period " + std::to_string(period));
        saved.insert({date, period});
        const Record* record = records.Find(date, period);
        ASSERT_NE(record, nullptr);
        const double steady = record->Values[0], running = record->Values[1], pulses = record->Values[2];
        // Maths: 2 x Steady + 0.5 x Pulses, each step in single precision.
        const float expected = static_cast<float>(2.0f * static_cast<float>(steady)) +
                               static_cast<float>(0.5f * static_cast<float>(pulses));
        EXPECT_FLOAT_EQ(static_cast<float>(record->Values[3]), expected);
        if (period == 1) continue;
        EXPECT_EQ(record->Flag, 1);
        EXPECT_NEAR(steady, SteadyRate / 2, steadyTolerance);
        EXPECT_NEAR(pulses, PulseRate / 2, pulseTolerance);
        EXPECT_DOUBLE_EQ(pulses * 2, std::round(pulses * 2));  // whole pulses of 0.5
        EXPECT_NEAR(running - records.Find(date, period - 1)->Values[1], RunningRate / 2, runningTolerance);
        steadySum += steady;
        pulseSum += pulses;
        highest = std::max(highest, steady + pulses);
    }
    // Periods 2 to 48: 23.5 hours.
    EXPECT_NEAR(steadySum, SteadyRate * 23.5, steadyTolerance);
    EXPECT_NEAR(pulseSum, PulseRate * 23.5, pulseTolerance);
    EXPECT_NEAR(records.Find(date, 48)->Values[1] - records.Find(date, 1)->Values[1], RunningRate * 23.5,
                runningTolerance);
    // Nothing anywhere else in the month: not before start-up, not on the next day.
    records.ExpectEmptyBut(saved);

    // The peak table: the highest site total (Steady and Pulses) first.
    const Result peaks = Run(VT_STORE_PROGRAM, {"peaks", "C:\\Telvane5\\Jobs\\Day\\Setup\\VoltarisSetup.ini"});
    ASSERT_EQ(peaks.ExitCode, 0) << peaks.Err;
    const std::vector<std::string> ranks = Lines(peaks.Out);
    ASSERT_GE(ranks.size(), 4u);
    std::istringstream top(ranks[1]);
    int rank = 0;
    double total = 0;
    top >> rank >> total;
    EXPECT_EQ(rank, 1);
    EXPECT_NEAR(total, highest, 0.01) << peaks.Out;
    EXPECT_NE(peaks.Out.find("Nov 19, 26. "), std::string::npos) << peaks.Out;
    EXPECT_EQ(ErrorLines(), "");
}

}  // namespace
}  // namespace scenario
