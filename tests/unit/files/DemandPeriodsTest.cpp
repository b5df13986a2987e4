#include "FilesTestSupport.h"
#include "files/DemandPeriods.h"
#include "platform/DateSerial.h"
#include "support/VbDate.h"

using namespace filestest;

namespace {

class DemandPeriodsTest : public TempPrefixTest {};

DateTime At(int day, int hour, int minute, int second = 0) { return MakeDateTime(2024, 3, day, hour, minute, second); }

TEST_F(DemandPeriodsTest, PeriodNumbersEndsAndRecordsAtTheBoundaries)
{
    struct Case {
        int periods, hour, minute, second, expected;
    };
    const Case cases[] = {
        {48, 0, 0, 0, 1},   {48, 0, 29, 59, 1}, {48, 0, 30, 0, 2},  {48, 12, 0, 0, 25}, {48, 23, 59, 59, 48},
        {96, 0, 14, 59, 1}, {96, 0, 15, 0, 2},  {96, 10, 15, 0, 42}, {96, 23, 45, 0, 96}, {24, 13, 59, 0, 14},
        {24, 0, 0, 0, 1},   {24, 23, 59, 0, 24},
    };
    for (const Case& c : cases)
        EXPECT_EQ(PeriodNumber(At(5, c.hour, c.minute, c.second), c.periods), c.expected)
            << c.periods << " periods at " << c.hour << ":" << c.minute;
    EXPECT_DOUBLE_EQ(PeriodEndTime(1, 48), 1.0 / 48);
    EXPECT_EQ(DateSerial(2024, 3, 5) + PeriodEndTime(48, 48), DateSerial(2024, 3, 6));
    EXPECT_EQ(PeriodEndTime(96, 96), 1.0);
    // The save at 10:00:20 on the 3rd covers 09:30-10:00: record (3-1)*48 + 20 - 1; at 00:00 on the
    // 2nd, period 48 of the 1st.
    EXPECT_EQ(PeriodRecordIndex(At(3, 10, 0, 20) - PeriodMinutes(48) / 1440.0, 48), 115);
    EXPECT_EQ(PeriodRecordIndex(At(2, 0, 0) - 30 / 1440.0, 48), 47);
    EXPECT_EQ(PeriodRecordIndex(At(31, 23, 59), 96), 31 * 96 - 1);
}

TEST_F(DemandPeriodsTest, LastEndLooksBackFiveMinutes)
{
    struct Case {
        DateTime now;
        int periods;
        DateTime expected;
    };
    const Case cases[] = {
        {At(1, 0, 3), 48, At(1, 0, 0)},  // the end of period 48 of 29 Feb
        {At(5, 10, 2), 48, At(5, 10, 0)},
        {At(5, 10, 31), 48, At(5, 10, 30)},
        {At(5, 10, 36), 48, At(5, 11, 0)},
        {At(5, 10, 17), 96, At(5, 10, 15)},
    };
    for (const Case& c : cases)
        EXPECT_EQ(FormatDate(PeriodLastEndDateTime(c.now, c.periods), "dd/mm/yyyy hh:mm:ss"),
                  FormatDate(c.expected, "dd/mm/yyyy hh:mm:ss"));
}

TEST_F(DemandPeriodsTest, NoPeriodLengthIsReportedNotFatal)
{
    EXPECT_EQ(PeriodNumber(At(5, 10, 0), 0), 0);
    EXPECT_EQ(LogLinesWith("PeriodNumber, Error 11/ Division by zero"), 1);
    EXPECT_EQ(PeriodEndTime(3, 0), 0.0);
    EXPECT_EQ(LogLinesWith("PeriodEndTime, Error 11/ Division by zero"), 1);
    EXPECT_EQ(PeriodMinutes(0), 0);
    EXPECT_EQ(LogLines(), 3);
}

} // namespace
