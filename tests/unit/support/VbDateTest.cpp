#include "support/VbDate.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

// 5 Nov 2026 14:07:09, a Thursday.
DateTime Sample() { return MakeDateTime(2026, 11, 5, 14, 7, 9); }

void ExpectFormats(std::initializer_list<std::tuple<DateTime, const char*, const char*>> cases) {
    for (const auto& [value, pattern, expected] : cases) EXPECT_EQ(FormatDate(value, pattern), expected) << pattern;
}

}  // namespace

TEST(FormatDate, TheMonitorsPatternsAndEveryToken) {
    const DateTime t = Sample();
    ExpectFormats({{t, "dd/mm/yy hh:mm:ss", "05/11/26 14:07:09"},
                   {t, "ddd, mmm d yyyy", "Thu, Nov 5 2026"}, {t, "hh:mm:ss", "14:07:09"},
                   {t, "mmm dd, yy. hh:mm", "Nov 05, 26. 14:07"},
                   {t, "mmm dd, yyyy. hh:mm:ss", "Nov 05, 2026. 14:07:09"}, {t, "mmm dd, yyyy.", "Nov 05, 2026."},
                   {t, "yymm", "2611"}, {MakeDateTime(2024, 3, 1, 0, 0, 0), "yymm", "2403"},
                   {MakeDateTime(2009, 1, 2, 3, 4, 5), "dd/mm/yy hh:mm:ss", "02/01/09 03:04:05"},
                   {t, "d dd ddd dddd", "5 05 Thu Thursday"}, {t, "m mm mmm mmmm", "11 11 Nov November"},
                   {t, "n nn", "7 07"}, {t, "yy yyyy", "26 2026"}, {t, "h hh", "14 14"}, {t, "s ss", "9 09"},
                   {t, "y", "309"}, {t, "w q", "5 4"},
                   {MakeDateTime(2026, 1, 3, 0, 0, 0), "ww", "1"},  // Saturday of the first week
                   {MakeDateTime(2026, 1, 4, 0, 0, 0), "ww", "2"},  // the next Sunday starts week 2
                   {t, "DD/MM/YYYY HH:NN", "05/11/2026 14:07"}, {t, "hh:mm AM/PM", "02:07 PM"},
                   {MakeDateTime(2026, 11, 5, 0, 30, 0), "h:mm am/pm", "12:30 am"},
                   {MakeDateTime(2026, 11, 5, 12, 0, 0), "h a/p", "12 p"}, {t, "\"day\" d \\m", "day 5 m"},
                   {t, "\"unterminated", "unterminated"}, {t, "c", "05/11/2026 14:07:09"}, {t, "", ""},
                   {t, "ddddd", "Thursday5"}});
}

TEST(FormatDate, MonthOrMinuteFollowsTheClassicRule) {
    const DateTime t = Sample();
    ExpectFormats({{t, "hh mm", "14 07"},        // after an hour
                   {t, "h:m", "14:7"},
                   {t, "mm:ss", "07:09"},        // before a second
                   {t, "mm", "11"},              // alone: month
                   {t, "dd mm hh", "05 11 14"},  // before an hour: month
                   {t, "hh dd mm", "14 05 11"},  // something between: month
                   {t, "mmm hh mm", "Nov 14 07"},
                   {t, "hh mmm", "14 Nov"}});    // "mmm" is always the month name
}

TEST(FormatDate, RoundsToTheSecondAcrossMidnightMonthAndYearAndTakesOddValues) {
    const DateTime almost = DateSerial(2026, 12, 31) + 86399.6 / 86400.0;
    EXPECT_EQ(LogStamp(almost), "01/01/27 00:00:00");
    ExpectFormats({{almost, "dd/mm/yyyy hh:mm:ss", "01/01/2027 00:00:00"},
                   {DateSerial(2026, 2, 28) + 86399.4 / 86400.0, "dd/mm/yyyy hh:mm:ss", "28/02/2026 23:59:59"},
                   {DateSerial(2026, 2, 28) + 1, "d mmm", "1 Mar"}, {DateSerial(2024, 2, 28) + 1, "d mmm", "29 Feb"},
                   {DateSerial(2000, 2, 28) + 1, "d mmm yyyy dddd", "29 Feb 2000 Tuesday"},
                   {DateSerial(1900, 2, 28) + 1, "d mmm yyyy", "1 Mar 1900"},
                   {DateSerial(2100, 2, 28) + 1, "d mmm yyyy", "1 Mar 2100"},
                   {DateSerial(2026, 4, 30) + 1, "dd/mm", "01/05"},
                   {0, "dd/mm/yyyy hh:mm:ss dddd", "30/12/1899 00:00:00 Saturday"},
                   {-1.25, "dd/mm/yyyy hh:mm", "29/12/1899 06:00"}, {-657434, "d mmm yyyy", "1 Jan 0100"},
                   {DateSerial(9999, 12, 31), "yy yyyy", "99 9999"}});
}

TEST(GeneralDate, DateTimeDateAloneTimeAlone) {
    EXPECT_EQ(GeneralDate(Sample()), "05/11/2026 14:07:09");
    EXPECT_EQ(GeneralDate(DateSerial(2026, 11, 5)), "05/11/2026");
    EXPECT_EQ(GeneralDate(TimeSerial(14, 7, 9)), "14:07:09");
    EXPECT_EQ(GeneralDate(0), "30/12/1899");
    EXPECT_EQ(LogStamp(Sample()), "05/11/26 14:07:09");
}

TEST(DateParts, FieldsNamesAndSplitting) {
    const DateTime t = Sample();
    EXPECT_EQ(std::make_tuple(Year(t), Month(t), Day(t), Hour(t), Minute(t), Second(t), Weekday(t)),
              std::make_tuple(2026, 11, 5, 14, 7, 9, 5));
    EXPECT_EQ(Weekday(DateSerial(2000, 1, 1)), 7);
    EXPECT_EQ(DateOnly(t), DateSerial(2026, 11, 5));
    EXPECT_NEAR(TimeOnly(t), TimeSerial(14, 7, 9), 1e-9);
    EXPECT_EQ(DateOnly(-1.25), -1.0);
    EXPECT_DOUBLE_EQ(TimeOnly(-1.25), 0.25);
    EXPECT_STREQ(MonthName(0), "");
    EXPECT_STREQ(MonthAbbreviation(13), "");
    EXPECT_STREQ(DayName(8), "");
}

TEST(ParseIsoDateTime, AcceptsRealDatesAndRejectsTheRest) {
    DateTime t = 0;
    for (const char* text : {"2026-11-05T14:07:09", "2026-11-05 14:07:09"}) {
        ASSERT_TRUE(ParseIsoDateTime(text, t)) << text;
        EXPECT_DOUBLE_EQ(t, Sample());
    }
    ASSERT_TRUE(ParseIsoDateTime("2024-02-29", t));
    EXPECT_EQ(t, DateSerial(2024, 2, 29));
    ASSERT_TRUE(ParseIsoDateTime("2026-12-31T23:59:59", t));
    EXPECT_EQ(FormatDate(t, "dd/mm/yyyy hh:mm:ss"), "31/12/2026 23:59:59");

    const DateTime untouched = 42.0;
    for (const char* bad : {"2026-02-29", "2100-02-29", "2026-11-05T24:00:00", "2026-11-05T12:60:00",
                            "2026-11-05T12:00:60", "2026-13-01", "2026-00-10", "2026-04-31", "2026-11-5",
                            "2026/11/05", "2026-11-05T14:07", "2026-11-05X14:07:09", "2026-11-05T14:07:09Z",
                            "0026-11-05", "", "abcd-ef-gh", "2026-11-05T1a:07:09", "+026-11-05"}) {
        t = untouched;
        EXPECT_FALSE(ParseIsoDateTime(bad, t)) << bad;
        EXPECT_EQ(t, untouched) << bad;
    }
}
