#include "platform/DateSerial.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// Day count by walking the calendar a year and a month at a time, independent of the library.
long long WalkedSerial(int year, int month, int day) {
    auto yearLength = [](int y) { return (y % 4 == 0 && (y % 100 != 0 || y % 400 == 0)) ? 366 : 365; };
    const int monthLength[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    long long days = 2; // 30 Dec 1899 -> 1 Jan 1900
    if (year >= 1900) {
        for (int y = 1900; y < year; ++y) days += yearLength(y);
    } else {
        for (int y = year; y < 1900; ++y) days -= yearLength(y);
    }
    for (int m = 1; m < month; ++m) days += monthLength[m - 1] + (m == 2 && yearLength(year) == 366 ? 1 : 0);
    return days + day - 1;
}

} // namespace

TEST(DateSerial, KnownDaysAndTheWalkedCalendarAgree) {
    EXPECT_EQ(DateSerial(1899, 12, 30), 0.0);
    EXPECT_EQ(DateSerial(1900, 1, 1), 2.0);
    EXPECT_EQ(DateSerial(2000, 1, 1), 36526.0);
    EXPECT_EQ(DateSerial(2025, 1, 1), 45658.0);
    EXPECT_EQ(DateSerial(100, 1, 1), -657434.0);
    EXPECT_EQ(DateSerial(9999, 12, 31), 2958465.0);
    for (int year : {101, 1600, 1899, 1900, 1904, 1970, 2000, 2024, 2026, 2100, 2400, 9999}) {
        for (int month = 1; month <= 12; ++month) {
            for (int day : {1, 15, DaysInMonth(year, month)}) {
                EXPECT_EQ(DateSerial(year, month, day), static_cast<double>(WalkedSerial(year, month, day)))
                    << year << "-" << month << "-" << day;
            }
        }
    }
}

TEST(DateSerial, MonthsAndDaysRollOver) {
    EXPECT_EQ(DateSerial(2026, 13, 1), DateSerial(2027, 1, 1));
    EXPECT_EQ(DateSerial(2026, 0, 1), DateSerial(2025, 12, 1));
    EXPECT_EQ(DateSerial(2026, -1, 1), DateSerial(2025, 11, 1));
    EXPECT_EQ(DateSerial(2026, 25, 1), DateSerial(2028, 1, 1));
    EXPECT_EQ(DateSerial(2026, 3, 0), DateSerial(2026, 2, 28));
    EXPECT_EQ(DateSerial(2024, 3, 0), DateSerial(2024, 2, 29));
    EXPECT_EQ(DateSerial(2026, 1, 32), DateSerial(2026, 2, 1));
    EXPECT_EQ(DateSerial(2026, 1, 366), DateSerial(2027, 1, 1));
}

TEST(DateSerial, TwoDigitYearsUseTheClassicWindow) {
    EXPECT_EQ(DateSerial(26, 11, 5), DateSerial(2026, 11, 5));
    EXPECT_EQ(DateSerial(0, 1, 1), DateSerial(2000, 1, 1));
    EXPECT_EQ(DateSerial(29, 12, 31), DateSerial(2029, 12, 31));
    EXPECT_EQ(DateSerial(30, 1, 1), DateSerial(1930, 1, 1));
    EXPECT_EQ(DateSerial(99, 12, 31), DateSerial(1999, 12, 31));
    EXPECT_TRUE(IsCalendarDate(24, 2, 29));
    EXPECT_FALSE(IsCalendarDate(23, 2, 29));
}

TEST(DateSerial, LeapYearsAndCalendarDates) {
    EXPECT_TRUE(IsLeapYear(2000));
    EXPECT_FALSE(IsLeapYear(1900));
    EXPECT_FALSE(IsLeapYear(2100));
    EXPECT_EQ(DaysInMonth(2026, 4), 30);
    EXPECT_EQ(DaysInMonth(2026, 13), 0);
    EXPECT_TRUE(IsCalendarDate(2000, 2, 29));
    EXPECT_FALSE(IsCalendarDate(1900, 2, 29));
    EXPECT_FALSE(IsCalendarDate(2100, 2, 29));
    EXPECT_FALSE(IsCalendarDate(2026, 4, 31));
    EXPECT_FALSE(IsCalendarDate(2026, 0, 1));
    EXPECT_FALSE(IsCalendarDate(2026, 1, 0));
    EXPECT_FALSE(IsCalendarDate(10000, 1, 1));
    EXPECT_TRUE(IsCalendarDate(9999, 12, 31));
    EXPECT_TRUE(InDateRange(DateSerial(100, 1, 1)));
    EXPECT_TRUE(InDateRange(DateSerial(9999, 12, 31) + 0.99));
    EXPECT_FALSE(InDateRange(DateSerial(10000, 1, 1)));
    EXPECT_FALSE(InDateRange(DateSerial(100, 1, 1) - 1.5));
    EXPECT_FALSE(InDateRange(NAN));
}

TEST(DateSerial, EveryDayOfFourCenturiesRoundTrips) {
    double serial = DateSerial(1800, 1, 1);
    int weekday = ToCivil(serial).Weekday;
    for (int year = 1800; year < 2200; ++year) {
        for (int month = 1; month <= 12; ++month) {
            for (int day = 1; day <= DaysInMonth(year, month); ++day) {
                const CivilTime c = ToCivil(serial);
                ASSERT_EQ(c.Year, year);
                ASSERT_EQ(c.Month, month);
                ASSERT_EQ(c.Day, day);
                ASSERT_EQ(c.Weekday, weekday);
                serial += 1;
                weekday = weekday % 7 + 1;
            }
        }
    }
}

TEST(DateSerial, TimesAndNegativeDayCounts) {
    EXPECT_DOUBLE_EQ(TimeSerial(6, 0, 0), 0.25);
    EXPECT_DOUBLE_EQ(TimeSerial(0, 90, 0), 1.5 / 24);
    EXPECT_DOUBLE_EQ(MakeDateTime(2026, 11, 5, 12, 0, 0), DateSerial(2026, 11, 5) + 0.5);
    // Before 30 Dec 1899 the time is carried as a positive fraction of a negative day.
    EXPECT_DOUBLE_EQ(MakeDateTime(1899, 12, 29, 6, 0, 0), -1.25);
    EXPECT_DOUBLE_EQ(MakeDateTime(1899, 12, 30, -6, 0, 0), -1.75);
    EXPECT_DOUBLE_EQ(MakeDateTime(2026, 11, 5, 24, 0, 0), DateSerial(2026, 11, 6));
    EXPECT_DOUBLE_EQ(MakeDateTime(2026, 11, 5, 0, 0, -1), DateSerial(2026, 11, 4) + 86399.0 / 86400);

    CivilTime c = ToCivil(-1.25);
    EXPECT_EQ(c.Year, 1899);
    EXPECT_EQ(c.Month, 12);
    EXPECT_EQ(c.Day, 29);
    EXPECT_EQ(c.Hour, 6);
    EXPECT_EQ(c.Weekday, 6); // Friday
    c = ToCivil(-0.5);
    EXPECT_EQ(c.Day, 30);
    EXPECT_EQ(c.Hour, 12);
    for (int h = 0; h < 24; h += 5) {
        const CivilTime back = ToCivil(MakeDateTime(1850, 6, 15, h, 17, 42));
        EXPECT_EQ(back.Day, 15);
        EXPECT_EQ(back.Hour, h);
        EXPECT_EQ(back.Minute, 17);
        EXPECT_EQ(back.Second, 42);
    }
}

TEST(DateSerial, RoundingToTheSecondCrossesMidnight) {
    const double lastSecond = DateSerial(2026, 12, 31) + (86399.6 / 86400.0);
    CivilTime c = ToCivil(lastSecond);
    EXPECT_EQ(c.Year, 2027);
    EXPECT_EQ(c.Month, 1);
    EXPECT_EQ(c.Day, 1);
    EXPECT_EQ(c.Hour, 0);
    EXPECT_EQ(c.Second, 0);
    c = ToCivil(DateSerial(2026, 12, 31) + (86399.4 / 86400.0));
    EXPECT_EQ(c.Day, 31);
    EXPECT_EQ(c.Second, 59);
    // On a negative day the next second is still the next calendar day.
    c = ToCivil(-1.0 - 86399.6 / 86400.0);
    EXPECT_EQ(c.Day, 30);
    EXPECT_EQ(c.Hour, 0);
    int64_t days = 0;
    int secs = 0;
    SplitDateTime(2.0 - 1e-9, days, secs);
    EXPECT_EQ(days, 2);
    EXPECT_EQ(secs, 0);
}

TEST(DateSerial, NonsenseValuesDoNotCrash) {
    for (double v : {double(NAN), double(INFINITY), -double(INFINITY), 1e300, -1e300, 1e10}) {
        const CivilTime c = ToCivil(v);
        EXPECT_GE(c.Month, 1);
        EXPECT_LE(c.Month, 12);
        EXPECT_GE(c.Weekday, 1);
        EXPECT_LE(c.Weekday, 7);
    }
    EXPECT_TRUE(std::isfinite(DateSerial(INT32_MAX, INT32_MAX, INT32_MAX)));
    EXPECT_TRUE(std::isfinite(MakeDateTime(INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN)));
}
