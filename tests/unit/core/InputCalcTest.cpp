// The three energy calculations at their edges: the growth of running totals, pulse counters with
// rollover, the pause rule and the rate limit; single-precision smoothing, grid texts and the
// faults they log. A whole day of ordinary readings is the Day scenario's.
#include "ScanFixture.h"
#include "core/InputCalc.h"

namespace {

// (n × rate + new rate) / (n + 1) in single precision, step by step.
float SmoothSingle(int n, float rate, float newRate) {
    volatile float weighted = static_cast<float>(n) * rate;
    volatile float sum = weighted + newRate;
    volatile float result = sum / static_cast<float>(n + 1);
    return result;
}

class InputCalc : public ScanTest {
protected:
    // Pulse tag 7 counted from previous to current since the pulse time, now seconds after the start.
    TagValue& Pulse(float previous, float current, double seconds) {
        TagValue& value = Value(7);
        value.Previous = previous;
        value.Current = current;
        At(seconds);
        Input_Calc_Pulse(Scan(), 7, Now());
        return value;
    }
};

TEST_F(InputCalc, TotalRateComesFromTheGrowthOfTheMetersReading) {
    Measured(6, 28).HostTagNumber = 31;
    TagValue& value = Value(6);
    const auto total = [&](float reading, double seconds) {
        value.Current = reading;
        At(seconds);
        Input_Calc_Total(Scan(), 6, Now());
    };
    // The first reading after start-up only sets the base.
    state.StartingUp = 1;
    total(100, 1);
    EXPECT_FLOAT_EQ(value.Rate, 0.0f);
    EXPECT_FLOAT_EQ(value.Integrated, 100.0f);

    // Growth of 24 in the hour with N = 5 and a rate of 10: about 12.33.
    state.StartingUp = 0;
    value.Rate = 10;
    value.LastReadTime = TestStart();
    total(124, 3600);
    float rate = SmoothSingle(5, 10, 24);
    EXPECT_FLOAT_EQ(value.Rate, rate);
    EXPECT_FLOAT_EQ(value.Integrated, 124.0f);  // the running total itself
    EXPECT_DOUBLE_EQ(value.LastReadTime, Now());
    EXPECT_EQ(view.Cell(6, 5), "(5) 12.33");
    EXPECT_FLOAT_EQ(Host().Reading(HostTable::Tags, 30), rate);

    // A replaced meter falls: rate and time stay, and it is the new base.
    total(20, 3630);
    EXPECT_FLOAT_EQ(value.Integrated, 20.0f);
    EXPECT_FLOAT_EQ(value.Rate, rate);
    EXPECT_DOUBLE_EQ(value.LastReadTime, TestStart() + Seconds(3600));
    total(26, 7200);
    EXPECT_FLOAT_EQ(value.Rate, rate = SmoothSingle(5, rate, 6));
    EXPECT_TRUE(LogLines().empty());

    // Growth within the same instant divides by zero.
    total(30, 7200);
    EXPECT_FLOAT_EQ(value.Rate, rate);
    EXPECT_EQ(LogLines(), std::vector<std::string>{"Input_Calc_Total, Error 11/ Division by zero"});
}

TEST_F(InputCalc, PulseIncrementAllowsForRolloverAndReset) {
    struct Case {
        float rollover, previous, current, unitsPerPulse, increment;
    };
    settings.AverageScans = 0;
    for (const Case& c : std::vector<Case>{{9999, 9990, 5, 1, 14},  // 9999 − 9990 + 5: wraps to 0 at the rollover
                                           {0, 9990, 5, 1, 5},      // no rollover value: the counter was reset
                                           {9999, 100, 160, 0.5f, 30},
                                           {1000, 990, 10, 2, 40}}) {
        TagRecord& record = Measured(7, 22);
        record.RolloverValue = c.rollover;
        record.UnitsPerPulse = c.unitsPerPulse;
        Value(7) = TagValue{};
        Value(7).PulseTime = TestStart();
        const TagValue& value = Pulse(c.previous, c.current, 3600);
        EXPECT_FLOAT_EQ(value.LastGoodDelta, c.increment) << c.previous << " -> " << c.current;
        EXPECT_FLOAT_EQ(value.Integrated, c.increment);
        EXPECT_NEAR(value.Rate, c.increment, 1e-3);  // over one hour, unsmoothed
        EXPECT_FLOAT_EQ(value.Previous, c.current);
    }
}

TEST_F(InputCalc, PulseSmoothingIsSinglePrecisionAndAShortPauseKeepsTheRate) {
    Measured(7, 22);
    Value(7).Rate = 0.01f;
    Value(7).PulseTime = TestStart();
    const TagValue& value = Pulse(0, 0.4f, 3600);  // 0.4 pulses in the hour
    const float rate = SmoothSingle(5, 0.01f, 0.4f);
    ASSERT_NE(rate, static_cast<float>((5.0 * 0.01f + 0.4f) / 6.0));  // the case tells the two apart
    EXPECT_EQ(value.Rate, rate);
    EXPECT_EQ(view.Cell(7, 5), "(5) 0.07 (0.00)");

    // No pulses for 20 seconds: nothing changes; for 40: the rate decays and the pulse time moves.
    Pulse(0.4f, 0.4f, 3620);
    EXPECT_EQ(value.Rate, rate);
    EXPECT_DOUBLE_EQ(value.PulseTime, TestStart() + Seconds(3600));
    EXPECT_EQ(view.RowColours[7], ColourBlack);
    Pulse(0.4f, 0.4f, 3640);
    EXPECT_FLOAT_EQ(value.Rate, rate * 5 / 6);
    EXPECT_DOUBLE_EQ(value.PulseTime, Now());
    EXPECT_FLOAT_EQ(value.Integrated, 0.4f);
}

TEST_F(InputCalc, PulseRateLimitAcceptsUpToMaxRateAndSubstitutesAbove) {
    settings.AverageScans = 0;
    TagRecord& record = Measured(7, 22);
    record.MaxRate = 100;
    record.HostTagNumber = 40;
    Value(7).Integrated = 50;
    Value(7).PulseTime = TestStart();

    // 100 pulses in the hour: exactly the limit.
    const TagValue& value = Pulse(1000, 1100, 3600);
    EXPECT_FLOAT_EQ(value.Rate, 100.0f);
    EXPECT_FLOAT_EQ(value.Integrated, 150.0f);
    EXPECT_EQ(view.RowColours[7], ColourBlack);

    // 100.01 in the next hour: rejected, the last good increment and rate stand in.
    Pulse(1100, 1200.01f, 7200);
    EXPECT_FLOAT_EQ(value.Rate, 100.0f);
    EXPECT_FLOAT_EQ(value.Integrated, 250.0f);
    EXPECT_FLOAT_EQ(value.LastGoodDelta, 100.0f);
    EXPECT_FLOAT_EQ(value.LastGoodRate, 100.0f);
    EXPECT_EQ(view.RowColours[7], ColourRed);
    EXPECT_EQ(view.Cell(7, 5), "(0) 100.00 (100.00)");
    EXPECT_FLOAT_EQ(Host().Reading(HostTable::Tags, 39), 100.0f);
    EXPECT_EQ(LogLines(), (std::vector<std::string>{
                              "Rate Err. Tag7HiRate=100.01:OldRate=100.00:OldValue =1100.00:ThisValue =1200.01",
                              "                Units/Pulse =1.000000:MaxRate =100.00:OldEnergy=150.00",
                              "                LastTime=12:00:00:TimeNow=12:00:00:LastUsed=100.00:NewEnergy=250.00"}));

    // The next plausible increment turns the row black again.
    Pulse(1200.01f, 1250.01f, 10800);
    EXPECT_NEAR(value.Rate, 50.0f, 1e-3);
    EXPECT_EQ(view.RowColours[7], ColourBlack);
    EXPECT_EQ(LogLines().size(), 3u);
}

TEST_F(InputCalc, PulseFirstReadingAfterStartUpOnlySetsTheBase) {
    Measured(7, 22).HostTagNumber = 40;
    state.StartingUp = 1;
    Value(7).Rate = 3;
    const TagValue& value = Pulse(0, 42, 5);
    EXPECT_FLOAT_EQ(value.Previous, 42.0f);
    EXPECT_DOUBLE_EQ(value.PulseTime, Now());
    EXPECT_FLOAT_EQ(value.Rate, 3.0f);
    EXPECT_EQ(Host().WriteCount(HostTable::Tags, 39), 0u);

    // Read again within the same instant: pulses over no time, then zero over zero, leave the tag.
    state.StartingUp = 0;
    Pulse(42, 47, 5);
    EXPECT_FLOAT_EQ(value.Previous, 42.0f);
    EXPECT_FLOAT_EQ(value.Rate, 3.0f);
    Pulse(42, 42, 5);
    EXPECT_EQ(LogLines(), (std::vector<std::string>{"Input_Calc_Pulse, Error 11/ Division by zero",
                                                     "Input_Calc_Pulse, Error 6/ Overflow"}));
    EXPECT_EQ(view.Cell(7, 5), "<unset>");
}

}  // namespace

// A clock set back past a tag's last reading: no calculation books a negative span. A direct
// meter gains nothing for it, a running total keeps its rate, a pulse counter still counts its
// pulses but neither rates nor checks them over a span that does not exist.
TEST_F(InputCalc, AClockGoneBackBooksNoNegativeSpan) {
    Measured(4, 24);
    TagValue& direct = Value(4);
    direct.Current = 60;
    direct.Integrated = 5;
    direct.LastReadTime = TestStart() + Seconds(3600);  // read an hour "later" than now
    At(30);
    Input_Calc_Direct(Scan(), 4, Now());
    EXPECT_FLOAT_EQ(direct.Integrated, 5.0f);
    EXPECT_FLOAT_EQ(direct.Rate, 60.0f);
    EXPECT_DOUBLE_EQ(direct.LastReadTime, Now());

    Measured(6, 28);
    TagValue& total = Value(6);
    total.Previous = 100;
    total.Current = 130;
    total.Rate = 12;
    total.LastReadTime = TestStart() + Seconds(3600);
    Input_Calc_Total(Scan(), 6, Now());
    EXPECT_FLOAT_EQ(total.Rate, 12.0f);
    EXPECT_FLOAT_EQ(total.Integrated, 130.0f);
    EXPECT_FLOAT_EQ(total.Previous, 130.0f);

    TagRecord& pulse = Measured(7, 22);
    pulse.MaxRate = 1;  // any rate over a real span would be refused
    TagValue& counter = Value(7);
    counter.Rate = 3;
    counter.Integrated = 2;
    counter.PulseTime = TestStart() + Seconds(3600);
    Pulse(40, 50, 30);
    EXPECT_FLOAT_EQ(counter.Integrated, 12.0f);
    EXPECT_FLOAT_EQ(counter.Rate, 3.0f);
    EXPECT_FLOAT_EQ(counter.LastGoodDelta, 10.0f);
    EXPECT_FLOAT_EQ(counter.Previous, 50.0f);
    EXPECT_DOUBLE_EQ(counter.PulseTime, Now());
    EXPECT_EQ(view.Cell(7, 5), "(5) 3.00 (1.00)");
    // The next scan rates over the span from there.
    pulse.MaxRate = 0;
    Pulse(50, 50.5f, 30 + 3600);
    EXPECT_NEAR(counter.Rate, (5 * 3.0f + 0.5f) / 6, 1e-5);
    EXPECT_TRUE(LogLines().empty());
}
