// Keeping the tag values after a scan and taking them back at start-up: only in the period they
// were kept in, only for the same kind of meter; a pulse counter then counts on from its kept base,
// so the pulses of the downtime land in the period, while a rate meter books no downtime.
#include <filesystem>

#include "ScanFixture.h"
#include "core/InputCalc.h"
#include "core/ResumeAfterRestart.h"
#include "files/ResumeState.h"
#include "platform/Paths.h"

namespace {

constexpr int16_t RateTag = 24, PulseTag = 22, TotalTag = 28;

class ResumeAfterRestart : public ScanTest {
protected:
    void SetUp() override {
        ScanTest::SetUp();
        if (IsSkipped()) return;
        settings.StoreFilePath = "C:\\Keep\\Vtrs2611.lum";
        std::filesystem::create_directories(LocalPath("C:\\Keep"));
        setup.PeriodsPerDay = 48;
        Measured(1, RateTag);
        Measured(2, PulseTag);
        Measured(3, TotalTag);
        Measured(4, ScanTypeMaths);  // recomputed every pass: never kept
        Measured(5, PulseTag).Online = 0;
    }
    // As start-up leaves the values before its first pass.
    void Cleared() {
        for (TagValue& v : values) v = TagValue{.LastReadTime = Now()};
    }
};

}  // namespace

TEST_F(ResumeAfterRestart, TakenBackInTheSamePeriodForTheSameMeters) {
    values[1] = {.Current = 60, .LastReadTime = Now(), .Integrated = 5, .Rate = 60};
    values[2] = {.Current = 1000, .Previous = 990, .LastReadTime = Now(), .PulseTime = Now(), .Integrated = 7,
                 .LastGoodDelta = 10, .LastGoodRate = 40, .Rate = 41};
    values[3] = {.Current = 500, .Previous = 500, .LastReadTime = Now() - Seconds(10), .Integrated = 500, .Rate = 12};
    values[4].Integrated = 99;
    values[5].Integrated = 3;
    ASSERT_FALSE(KeepTagValues(setup, values, settings, Now()).Failed());
    const DateTime kept = Now();

    // Killed and started again five minutes later, still before 10:30.
    At(300);
    Cleared();
    EXPECT_EQ(TakeBackTagValues(setup, values, settings, Now()), 3);
    EXPECT_EQ(values[1].Integrated, 5.0f);
    EXPECT_DOUBLE_EQ(values[1].LastReadTime, Now());  // the downtime is not booked for a rate
    EXPECT_FALSE(values[1].Resumed);
    EXPECT_EQ(values[2].Integrated, 7.0f);
    EXPECT_EQ(values[2].Previous, 990.0f);
    EXPECT_DOUBLE_EQ(values[2].PulseTime, kept);
    EXPECT_EQ(values[2].Rate, 41.0f);
    EXPECT_TRUE(values[2].Resumed);
    EXPECT_EQ(values[3].Previous, 500.0f);
    EXPECT_DOUBLE_EQ(values[3].LastReadTime, kept - Seconds(10));
    EXPECT_TRUE(values[3].Resumed);
    EXPECT_EQ(values[4].Integrated, 0.0f);
    EXPECT_EQ(values[5].Integrated, 0.0f);

    // The first pass after start-up: the counter went on to 1300 while the monitor was down.
    state.StartingUp = 1;
    settings.AverageScans = 0;
    values[2].Current = 1300;
    Input_Calc_Pulse(Scan(), 2, Now());
    EXPECT_EQ(values[2].Integrated, 7.0f + 310.0f);
    EXPECT_NEAR(values[2].Rate, 310.0 / (300.0 / 3600), 0.05);
    values[3].Current = 530;
    Input_Calc_Total(Scan(), 3, Now());
    EXPECT_NEAR(values[3].Rate, 30.0 / (310.0 / 3600), 0.05);
    EndTakeBack(values);
    EXPECT_FALSE(values[2].Resumed || values[3].Resumed);

    // A meter changed kind in the setup meanwhile is not taken back.
    Cleared();
    Tag(2).ScanType = RateTag;
    EXPECT_EQ(TakeBackTagValues(setup, values, settings, Now()), 2);
    EXPECT_EQ(values[2].Integrated, 0.0f);
    Tag(2).ScanType = PulseTag;

    // Another period (10:30 has passed), or a clock now earlier than the keeping: nothing.
    At(1810);
    Cleared();
    EXPECT_EQ(TakeBackTagValues(setup, values, settings, Now()), 0);
    EXPECT_EQ(values[2].Integrated, 0.0f);
    At(-10);
    EXPECT_EQ(TakeBackTagValues(setup, values, settings, Now()), 0);
    // Other periods per day.
    At(300);
    setup.PeriodsPerDay = 96;
    EXPECT_EQ(TakeBackTagValues(setup, values, settings, Now()), 0);
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(ResumeAfterRestart, ADamagedFileIsReportedAndNothingTaken) {
    EXPECT_EQ(TakeBackTagValues(setup, values, settings, Now()), 0);  // none: nothing to say
    EXPECT_TRUE(LogLines().empty());
    values[2].Integrated = 7;
    ASSERT_FALSE(KeepTagValues(setup, values, settings, Now()).Failed());
    const std::filesystem::path file = LocalPath(ResumeFilePath(settings.StoreFilePath));
    std::filesystem::resize_file(file, std::filesystem::file_size(file) - 3);
    values[2].Integrated = 0;
    EXPECT_EQ(TakeBackTagValues(setup, values, settings, Now()), 0);
    EXPECT_EQ(values[2].Integrated, 0.0f);
    EXPECT_EQ(LogLines(), std::vector<std::string>{"TakeBackTagValues, Error 59/ Bad record length"});
}
