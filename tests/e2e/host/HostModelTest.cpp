// The host's scenario format, point references and meter simulation, without a process.
#include <gtest/gtest.h>

#include <tuple>
#include <utility>

#include "MeterSim.h"
#include "PointRef.h"
#include "Scenario.h"
#include "platform/DateSerial.h"

namespace {

DateTime At(int hour, int minute, int second) { return MakeDateTime(2026, 3, 2, hour, minute, second); }

MeterConfig Meter(MeterKind kind, double low, double high) {
    MeterConfig m;
    m.Kind = kind;
    m.RateLow = low;
    m.RateHigh = high;
    return m;
}

}  // namespace

TEST(HostPointRef, FormsNumberingAndWhereEachGenerationKeepsThePoint) {
    PointRef p;
    for (auto [text, kind, number] : {std::tuple{"[T12]", PointKind::Tag, 12}, {"[R2P3L4]", PointKind::Line, 124},
                                      {"p13l4", PointKind::Line, 124}, {"R1P10L10", PointKind::Line, 100},
                                      {"L124", PointKind::Line, 124}}) {
        ASSERT_TRUE(ParsePointRef(text, p)) << text;
        EXPECT_EQ(p.Kind, kind) << text;
        EXPECT_EQ(p.Number, number) << text;
    }
    EXPECT_EQ(PointRefText(p, 4), "[R2P3L4]");
    EXPECT_EQ(PointRefText(p, 5), "[P13L4]");
    // A page or line beyond ten would name another point; zero, blanks and junk are no point.
    for (const char* bad : {"", "T", "T0", "R1P11L1", "P1L11", "R0P1L1", "[T12", "T 12", "T12x", "Q3", "R1L2", "P3"})
        EXPECT_FALSE(ParsePointRef(bad, p)) << bad;

    // {point, generation, table, index}; V4 tags between the input and output ranges are nowhere.
    HostTable table;
    int index = -1;
    for (auto [point, generation, wantTable, wantIndex] :
         {std::tuple{PointRef{PointKind::Tag, 2005}, 4, HostTable::OutputTags, 4}, {{PointKind::Tag, 2005}, 5, HostTable::Tags, 2004},
          {{PointKind::Line, 1000}, 5, HostTable::Lines, 999}}) {
        ASSERT_TRUE(PointLocation(point, generation, table, index)) << point.Number;
        EXPECT_EQ(std::make_pair(table, index), std::make_pair(wantTable, wantIndex)) << point.Number;
    }
    for (auto [point, generation] : {std::pair{PointRef{PointKind::Tag, 1500}, 4}, {{PointKind::Tag, 4049}, 4},
                                     {{PointKind::Tag, 5001}, 5}, {{PointKind::Line, 501}, 4}})
        EXPECT_FALSE(PointLocation(point, generation, table, index)) << point.Number;
}

TEST(HostScenario, FullExampleParses) {
    Scenario s;
    std::string error;
    ASSERT_TRUE(ParseScenario(R"(; a site
[host]
generation = 4
folder = C:\TELV
Libraries = hostpts32.dll, hostarc.dll
hidden windows = Korvex32printserver

[meter Boiler gas]
point = T12
kind = Pulse
rate = 50 .. 150
period = 600
units  per pulse = 0.5
rollover = 10000

# the clock tag
[meter Clock]
point = [T100]
kind = hour pulse
clock offset = -200

[point [R1P2L3]]
name = Incomer
active = no

[page 12]
files = a.dat, , b.dat

[dde MeterSrv|Meters]
Gas = 12.5 m3
)",
                              s, error))
        << error;
    EXPECT_EQ(s.Generation, 4);
    EXPECT_EQ(s.HostFolder, "C:\\TELV");
    EXPECT_EQ(s.Libraries, (std::vector<std::string>{"hostpts32.dll", "hostarc.dll"}));
    ASSERT_EQ(s.Meters.size(), 2u);
    EXPECT_EQ(s.Meters[0].Kind, MeterKind::Pulse);
    EXPECT_EQ(std::make_tuple(s.Meters[0].RateLow, s.Meters[0].RateHigh, s.Meters[0].UnitsPerPulse), std::make_tuple(50.0, 150.0, 0.5));
    EXPECT_EQ(s.Meters[1].Kind, MeterKind::HourPulse);
    EXPECT_EQ(s.Meters[1].ClockOffsetSeconds, -200);
    ASSERT_EQ(s.Points.size(), 1u);
    EXPECT_EQ(s.Points[0].Point.Number, 13);
    EXPECT_FALSE(s.Points[0].Active);
    ASSERT_EQ(s.Pages.size(), 1u);
    EXPECT_EQ(s.Pages[0].Files, (std::vector<std::string>{"a.dat", "b.dat"}));
    ASSERT_EQ(s.DdeItems.size(), 1u);
    EXPECT_EQ(std::make_pair(s.DdeItems[0].Topic, s.DdeItems[0].Text), std::make_pair(std::string("MeterSrv|Meters"), std::string("12.5 m3")));
}

TEST(HostScenario, ErrorsNameTheLine) {
    struct Case {
        const char* text;
        const char* expected;
    } cases[] = {
        {"[host]\ngeneration = 3\n", "line 2"},
        {"rate = 5\n", "line 1"},
        {"[meter A]\npoint = T12\n\nrate = 1..x\n", "line 4"},
        {"[meter A]\npoint = Z12\n", "line 2"},
        {"[meter A]\nwobble = 1\n", "line 2"},
        {"[pump 1]\n", "line 1"},
        {"[page 101]\n", "line 1"},
        {"[dde NoTopic]\n", "line 1"},
        {"[host\n", "line 1"},
        {"[meter A]\nrate = 5\n", "neither a point nor a dde topic"},
        {"[meter A]\ndde topic = A|B\n", "no dde item"},
        {"[meter A]\npoint = T1\nunits per pulse = 0\n", "line 3"},
        // Whole numbers far beyond an int (found by fuzzing: the conversion was undefined).
        {"[host]\ngeneration = 2.2e41\n", "line 2"},
        {"[page 1e300]\n", "line 1"},
        {"[host]\nrecorders = -3e9\n", "line 2"},
        {"[host]\ngeneration = nan\n", "line 2"},
    };
    for (const Case& c : cases) {
        Scenario s;
        std::string error;
        EXPECT_FALSE(ParseScenario(c.text, s, error)) << c.text;
        EXPECT_NE(error.find(c.expected), std::string::npos) << c.text << " gave: " << error;
    }
}

TEST(HostMeterSim, PulsesCountTheIntegratedRateAndRollOver) {
    MeterConfig config = Meter(MeterKind::Pulse, 3600, 3600);
    config.UnitsPerPulse = 2;
    config.Start = 995;
    config.Rollover = 1000;
    MeterSim meter(config);
    meter.Advance(At(10, 0, 0));
    EXPECT_EQ(meter.Value(), 995);
    meter.Advance(At(10, 0, 9));  // 9 units = 4 whole pulses
    EXPECT_EQ(meter.Value(), 999);
    meter.Advance(At(10, 0, 10));  // the fifth pulse wraps the counter
    EXPECT_EQ(meter.Value(), 0);
    // A clock set back adds nothing; forward again counts from the new time only.
    meter.Advance(At(9, 0, 0));
    EXPECT_EQ(meter.Value(), 0);
    meter.Advance(At(9, 0, 20));
    EXPECT_EQ(meter.Value(), 10);
}

TEST(HostMeterSim, TotalsIntegrateASwingingRate) {
    MeterConfig config = Meter(MeterKind::Total, 50, 150);
    config.PeriodSeconds = 600;
    MeterSim meter(config);
    // The swing stays within its bounds and averages out over whole periods.
    for (int s = 0; s < 600; s += 7) {
        double rate = meter.RateAt(At(10, 0, 0) + s / 86400.0);
        EXPECT_GE(rate, 50 - 1e-9);
        EXPECT_LE(rate, 150 + 1e-9);
    }
    meter.Advance(At(10, 0, 0));
    for (int s = 1; s <= 3600; ++s) meter.Advance(At(10, 0, 0) + s / 86400.0);
    EXPECT_NEAR(meter.Value(), 100, 0.01);
    MeterSim constant(Meter(MeterKind::Rate, 250, 250));
    constant.Advance(At(1, 2, 3));
    EXPECT_EQ(constant.Value(), 250);
    EXPECT_EQ(constant.Text(), "250.00");
}

TEST(HostMeterSim, HourPulseChangesOnTheHourOfItsOwnClock) {
    MeterSim pulse(Meter(MeterKind::HourPulse, 0, 0));
    pulse.Advance(At(9, 59, 59));
    double before = pulse.Value();
    EXPECT_GT(before, 0);
    pulse.Advance(At(10, 0, 0));
    EXPECT_EQ(pulse.Value(), before + 1);
    pulse.Advance(At(10, 59, 59));
    EXPECT_EQ(pulse.Value(), before + 1);

    // A pulsing clock 200 s ahead of the PC: the pulse comes at 09:56:40 PC time.
    MeterConfig ahead = Meter(MeterKind::HourPulse, 0, 0);
    ahead.ClockOffsetSeconds = 200;
    MeterSim early(ahead);
    early.Advance(At(9, 56, 39));
    double first = early.Value();
    early.Advance(At(9, 56, 40));
    EXPECT_EQ(early.Value(), first + 1);

    // Never 0, so a wrap is still a change the monitor sees as a pulse.
    MeterConfig small = Meter(MeterKind::HourPulse, 0, 0);
    small.Rollover = 3;
    MeterSim wrap(small);
    for (int h = 0; h < 24; ++h) {
        wrap.Advance(At(h, 30, 0));
        EXPECT_GE(wrap.Value(), 1);
        EXPECT_LE(wrap.Value(), 3);
    }
}
