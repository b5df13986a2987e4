// The three energy calculations: scaling and integration of direct rates, the growth of running
// totals, pulse counters with rollover, the pause rule and the rate limit; single-precision smoothing,
// host output, grid texts and the faults they log.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ScanFixture.h"
#include "core/InputCalc.h"

namespace {

constexpr int16_t ScanRateTag = 24;
constexpr int16_t ScanTotalTag = 28;
constexpr int16_t ScanPulseTag = 22;

// (n × rate + new rate) / (n + 1) in single precision, step by step.
float SmoothSingle(int n, float rate, float newRate) {
    volatile float weighted = static_cast<float>(n) * rate;
    volatile float sum = weighted + newRate;
    volatile float result = sum / static_cast<float>(n + 1);
    return result;
}

}  // namespace

TEST(InputCalcDirect, ScalesTheReadingIntegratesOverTheSpanAndOutputsTheRate) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f;
    ASSERT_TRUE(f.Installed());
    TagRecord& record = f.Measured(4, ScanRateTag);
    record.UnitsPerPulse = 2;
    record.HostTagNumber = 30;
    TagValue& value = f.Value(4);
    value.Current = 10;
    value.Integrated = 7;
    value.LastReadTime = TestStart();
    f.SetNow(TestStart() + Seconds(1800));

    Input_Calc_Direct(f.Scan(), 4, ScanFixture::Now());

    // 10 raw units × 2 per pulse = 20 per hour, for half an hour: 10 more.
    EXPECT_FLOAT_EQ(value.Current, 20.0f);
    EXPECT_NEAR(value.Integrated, 7.0f + 20.0f * 0.5f, 1e-4);
    EXPECT_FLOAT_EQ(value.Rate, 20.0f);
    EXPECT_NEAR(value.LastReadTime, TestStart() + Seconds(1800), Seconds(0.01));
    EXPECT_EQ(f.view.Cell(4, 5), "20.00");
    EXPECT_FLOAT_EQ(f.Host().Reading(HostTable::Tags, 29), 20.0f);
}

TEST(InputCalcTotal, GrowthOverTheHourIsSmoothedIntoTheRate) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f;
    ASSERT_TRUE(f.Installed());
    f.Measured(6, ScanTotalTag).HostTagNumber = 31;
    TagValue& value = f.Value(6);
    value.Previous = 100;  // the meter's reading at the previous scan
    value.Current = 124;
    value.Rate = 10;
    value.LastReadTime = TestStart();
    f.SetNow(TestStart() + Seconds(3600));

    Input_Calc_Total(f.Scan(), 6, ScanFixture::Now());

    const float expected = SmoothSingle(5, 10.0f, 24.0f);  // about 12.33
    EXPECT_FLOAT_EQ(value.Rate, expected);
    EXPECT_FLOAT_EQ(value.Integrated, 124.0f);  // the running total itself
    EXPECT_EQ(f.view.Cell(6, 5), "(5) 12.33");
    EXPECT_FLOAT_EQ(f.Host().Reading(HostTable::Tags, 30), expected);

    // A period save clears Integrated; the next growth is still measured from the meter's reading.
    value.Integrated = 0;
    value.Current = 130;
    value.LastReadTime = TestStart() + Seconds(3600);
    f.SetNow(TestStart() + Seconds(7200));
    Input_Calc_Total(f.Scan(), 6, ScanFixture::Now());
    EXPECT_FLOAT_EQ(value.Rate, SmoothSingle(5, expected, 6.0f));
    EXPECT_FLOAT_EQ(value.Integrated, 130.0f);
}

TEST(InputCalcTotal, FirstReadingAfterStartUpOnlySetsTheBase) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f;
    ASSERT_TRUE(f.Installed());
    f.Measured(6, ScanTotalTag);
    TagValue& value = f.Value(6);
    f.state.StartingUp = 1;
    value.Current = 5000;
    value.LastReadTime = TestStart();
    f.SetNow(TestStart() + Seconds(1));

    Input_Calc_Total(f.Scan(), 6, ScanFixture::Now());
    EXPECT_FLOAT_EQ(value.Rate, 0.0f);
    EXPECT_FLOAT_EQ(value.Integrated, 5000.0f);

    f.state.StartingUp = 0;
    value.Current = 5010;
    value.LastReadTime = TestStart() + Seconds(1);
    f.SetNow(TestStart() + Seconds(1 + 3600));
    Input_Calc_Total(f.Scan(), 6, ScanFixture::Now());
    EXPECT_FLOAT_EQ(value.Rate, SmoothSingle(5, 0.0f, 10.0f));
}

TEST(InputCalcTotal, FallingTotalKeepsRateAndTime) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f;
    ASSERT_TRUE(f.Installed());
    f.Measured(6, ScanTotalTag);
    TagValue& value = f.Value(6);
    value.Previous = 500;
    value.Integrated = 500;
    value.Current = 20;  // meter replaced
    value.Rate = 10;
    value.LastReadTime = TestStart();
    f.SetNow(TestStart() + Seconds(30));

    Input_Calc_Total(f.Scan(), 6, ScanFixture::Now());
    EXPECT_FLOAT_EQ(value.Integrated, 20.0f);
    EXPECT_FLOAT_EQ(value.Rate, 10.0f);
    EXPECT_EQ(value.LastReadTime, TestStart());

    // The replaced meter is the new base: its next growth counts from 20.
    value.Current = 26;
    f.SetNow(TestStart() + Seconds(3600));
    Input_Calc_Total(f.Scan(), 6, ScanFixture::Now());
    EXPECT_FLOAT_EQ(value.Rate, SmoothSingle(5, 10.0f, 6.0f));
}

TEST(InputCalcTotal, GrowthWithinTheSameInstantIsADivisionByZero) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f;
    ASSERT_TRUE(f.Installed());
    f.Measured(6, ScanTotalTag);
    TagValue& value = f.Value(6);
    value.Previous = 100;
    value.Current = 110;
    value.Rate = 3;
    value.LastReadTime = ScanFixture::Now();

    Input_Calc_Total(f.Scan(), 6, ScanFixture::Now());
    EXPECT_FLOAT_EQ(value.Rate, 3.0f);
    EXPECT_EQ(f.LogLines(), std::vector<std::string>{"Input_Calc_Total, Error 11/ Division by zero"});
}

TEST(InputCalcPulse, IncrementAllowsForRolloverAndReset) {
    REQUIRE_HOST_LIBRARIES();
    struct Case {
        float rollover, previous, current, unitsPerPulse, increment;
    };
    for (const Case& c : std::vector<Case>{
             {9999, 9990, 5, 1, 14},    // 9999 − 9990 + 5: wraps to 0 at the rollover value
             {0, 9990, 5, 1, 5},        // no rollover value: the counter was reset
             {9999, 100, 160, 0.5f, 30},
             {1000, 990, 10, 2, 40}}) {
        ScanFixture f;
        ASSERT_TRUE(f.Installed());
        f.settings.AverageScans = 0;
        TagRecord& record = f.Measured(7, ScanPulseTag);
        record.RolloverValue = c.rollover;
        record.UnitsPerPulse = c.unitsPerPulse;
        TagValue& value = f.Value(7);
        value.Previous = c.previous;
        value.Current = c.current;
        value.PulseTime = TestStart();
        f.SetNow(TestStart() + Seconds(3600));

        Input_Calc_Pulse(f.Scan(), 7, ScanFixture::Now());
        EXPECT_FLOAT_EQ(value.LastGoodDelta, c.increment) << c.previous << " -> " << c.current;
        EXPECT_FLOAT_EQ(value.Integrated, c.increment);
        EXPECT_NEAR(value.Rate, c.increment, 1e-3);  // over one hour, unsmoothed
        EXPECT_FLOAT_EQ(value.Previous, c.current);
    }
}

TEST(InputCalcPulse, ShortPauseKeepsTheRateLongerPauseDecaysIt) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f;
    ASSERT_TRUE(f.Installed());
    f.Measured(7, ScanPulseTag);
    TagValue& value = f.Value(7);
    value.Previous = value.Current = 500;
    value.Rate = 12;
    value.PulseTime = TestStart();

    f.SetNow(TestStart() + Seconds(20));
    Input_Calc_Pulse(f.Scan(), 7, ScanFixture::Now());
    EXPECT_FLOAT_EQ(value.Rate, 12.0f);
    EXPECT_EQ(value.PulseTime, TestStart());
    EXPECT_EQ(f.view.Cell(7, 5), "(5) 12.00 (0.00)");
    EXPECT_EQ(f.view.RowColours[7], ColourBlack);

    f.SetNow(TestStart() + Seconds(40));
    Input_Calc_Pulse(f.Scan(), 7, ScanFixture::Now());
    EXPECT_FLOAT_EQ(value.Rate, 12.0f * 5 / 6);
    EXPECT_NEAR(value.PulseTime, TestStart() + Seconds(40), Seconds(0.01));
    EXPECT_FLOAT_EQ(value.Integrated, 0.0f);
}

TEST(InputCalcPulse, RateLimitAcceptsUpToMaxRateAndSubstitutesAbove) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f;
    ASSERT_TRUE(f.Installed());
    f.settings.AverageScans = 0;
    TagRecord& record = f.Measured(7, ScanPulseTag);
    record.MaxRate = 100;
    record.HostTagNumber = 40;
    TagValue& value = f.Value(7);
    value.Previous = 1000;
    value.Integrated = 50;
    value.PulseTime = TestStart();

    // 100 pulses in the hour: exactly the limit.
    value.Current = 1100;
    f.SetNow(TestStart() + Seconds(3600));
    Input_Calc_Pulse(f.Scan(), 7, ScanFixture::Now());
    EXPECT_FLOAT_EQ(value.Rate, 100.0f);
    EXPECT_FLOAT_EQ(value.Integrated, 150.0f);
    EXPECT_EQ(f.view.RowColours[7], ColourBlack);
    EXPECT_TRUE(f.LogLines().empty());

    // 100.01 in the next hour: rejected, the last good increment and rate stand in.
    value.Current = 1200.01f;
    f.SetNow(TestStart() + Seconds(7200));
    Input_Calc_Pulse(f.Scan(), 7, ScanFixture::Now());
    EXPECT_FLOAT_EQ(value.Rate, 100.0f);
    EXPECT_FLOAT_EQ(value.Integrated, 250.0f);
    EXPECT_FLOAT_EQ(value.LastGoodDelta, 100.0f);
    EXPECT_FLOAT_EQ(value.LastGoodRate, 100.0f);
    EXPECT_EQ(f.view.RowColours[7], ColourRed);
    EXPECT_EQ(f.view.Cell(7, 5), "(0) 100.00 (100.00)");
    EXPECT_FLOAT_EQ(f.Host().Reading(HostTable::Tags, 39), 100.0f);
    EXPECT_EQ(f.LogLines(),
              (std::vector<std::string>{
                  "Rate Err. Tag7HiRate=100.01:OldRate=100.00:OldValue =1100.00:ThisValue =1200.01",
                  "                Units/Pulse =1.000000:MaxRate =100.00:OldEnergy=150.00",
                  "                LastTime=12:00:00:TimeNow=12:00:00:LastUsed=100.00:NewEnergy=250.00"}));

    // The next plausible increment turns the row black again.
    value.Current = 1250.01f;
    f.SetNow(TestStart() + Seconds(10800));
    Input_Calc_Pulse(f.Scan(), 7, ScanFixture::Now());
    EXPECT_NEAR(value.Rate, 50.0f, 1e-3);
    EXPECT_EQ(f.view.RowColours[7], ColourBlack);
    EXPECT_EQ(f.LogLines().size(), 3u);
}

TEST(InputCalcPulse, FirstReadingAfterStartUpOnlySetsTheBase) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f;
    ASSERT_TRUE(f.Installed());
    f.Measured(7, ScanPulseTag).HostTagNumber = 40;
    f.state.StartingUp = 1;
    TagValue& value = f.Value(7);
    value.Current = 42;
    value.Rate = 3;

    Input_Calc_Pulse(f.Scan(), 7, ScanFixture::Now());
    EXPECT_FLOAT_EQ(value.Previous, 42.0f);
    EXPECT_NEAR(value.PulseTime, TestStart(), Seconds(0.01));
    EXPECT_FLOAT_EQ(value.Rate, 3.0f);
    EXPECT_FALSE(f.view.HasCell(7, 5));
    EXPECT_EQ(f.Host().WriteCount(HostTable::Tags, 39), 0u);
}

TEST(InputCalcPulse, SmoothingIsSinglePrecision) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f;
    ASSERT_TRUE(f.Installed());
    f.Measured(7, ScanPulseTag);
    TagValue& value = f.Value(7);
    value.Rate = 0.01f;
    value.Previous = 0;
    value.Current = 0.4f;  // 0.4 pulses in the hour
    value.PulseTime = TestStart();
    f.SetNow(TestStart() + Seconds(3600));

    Input_Calc_Pulse(f.Scan(), 7, ScanFixture::Now());

    const float increment = 0.4f;
    const float single = SmoothSingle(5, 0.01f, increment);
    const auto viaDouble = static_cast<float>((5.0 * 0.01f + increment) / 6.0);
    ASSERT_NE(single, viaDouble);  // the case only tells the two apart if they differ
    EXPECT_EQ(value.Rate, single);
    EXPECT_EQ(f.view.Cell(7, 5), "(5) 0.07 (0.00)");
}

TEST(InputCalcPulse, PulseTimeEqualToNowIsLoggedAndLeavesTheTag) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f;
    ASSERT_TRUE(f.Installed());
    f.Measured(7, ScanPulseTag);
    TagValue& value = f.Value(7);
    value.PulseTime = ScanFixture::Now();
    value.Previous = 10;
    value.Current = 15;
    value.Rate = 2;

    Input_Calc_Pulse(f.Scan(), 7, ScanFixture::Now());
    EXPECT_FLOAT_EQ(value.Previous, 10.0f);
    EXPECT_FLOAT_EQ(value.Rate, 2.0f);

    value.Current = 10;  // no pulses: zero over zero
    Input_Calc_Pulse(f.Scan(), 7, ScanFixture::Now());
    EXPECT_EQ(f.LogLines(), (std::vector<std::string>{"Input_Calc_Pulse, Error 11/ Division by zero",
                                                       "Input_Calc_Pulse, Error 6/ Overflow"}));
    EXPECT_FALSE(f.view.HasCell(7, 5));
}
