#include "platform/DateSerial.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>
#include <utility>

namespace {

// Day count by walking the calendar a year and a month at a time, independent of the library.
long long WalkedSerial(int year, int month, int day) {
    auto yearLength = [](int y) { return (y % 4 == 0 && (y % 100 != 0 || y % 400 == 0)) ? 366 : 365; };
    const int monthLength[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    long long days = 2;  // 30 Dec 1899 -> 1 Jan 1900
    for (int y = 1900; y < year; ++y) days += yearLength(y);
    for (int y = year; y < 1900; ++y) days -= yearLength(y);
    for (int m = 1; m < month; ++m) days += monthLength[m - 1] + (m == 2 && yearLength(year) == 366 ? 1 : 0);
    return days + day - 1;
}

std::tuple<int, int, int, int, int, int> Fields(const CivilTime& c) {
    return {c.Year, c.Month, c.Day, c.Hour, c.Minute, c.Second};
}

}  // namespace

TEST(DateSerial, KnownDaysAndTheWalkedCalendarAgree) {
    EXPECT_EQ(DateSerial(1899, 12, 30), 0.0);
    EXPECT_EQ(DateSerial(1900, 1, 1), 2.0);
    EXPECT_EQ(DateSerial(2000, 1, 1), 36526.0);
    EXPECT_EQ(DateSerial(2025, 1, 1), 45658.0);
    EXPECT_EQ(DateSerial(100, 1, 1), -657434.0);
    EXPECT_EQ(DateSerial(9999, 12, 31), 2958465.0);
    for (int year : {101, 1600, 1899, 1900, 1904, 1970, 2000, 2024, 2026, 2100, 2400, 9999})
        for (int month = 1; month <= 12; ++month)
            for (int day : {1, 15, DaysInMonth(year, month)})
                EXPECT_EQ(DateSerial(year, month, day), static_cast<double>(WalkedSerial(year, month, day)))
                    << year << "-" << month << "-" << day;
}

TEST(DateSerial, MonthsDaysAndTwoDigitYearsRollOver) {
    // {year, month, day} on the left give the same day as on the right; two-digit years use the
    // classic window 0..29 -> 2000s, 30..99 -> 1900s.
    const std::pair<std::tuple<int, int, int>, std::tuple<int, int, int>> same[] = {
        {{2026, 13, 1}, {2027, 1, 1}},   {{2026, 0, 1}, {2025, 12, 1}},   {{2026, -1, 1}, {2025, 11, 1}},
        {{2026, 25, 1}, {2028, 1, 1}},   {{2026, 3, 0}, {2026, 2, 28}},   {{2024, 3, 0}, {2024, 2, 29}},
        {{2026, 1, 32}, {2026, 2, 1}},   {{2026, 1, 366}, {2027, 1, 1}},  {{26, 11, 5}, {2026, 11, 5}},
        {{0, 1, 1}, {2000, 1, 1}},       {{29, 12, 31}, {2029, 12, 31}}, {{30, 1, 1}, {1930, 1, 1}},
        {{99, 12, 31}, {1999, 12, 31}}};
    for (const auto& [a, b] : same)
        EXPECT_EQ(std::apply(DateSerial, a), std::apply(DateSerial, b)) << std::get<0>(a) << "-" << std::get<1>(a);
}

TEST(DateSerial, LeapYearsAndCalendarDates) {
    EXPECT_TRUE(IsLeapYear(2000));
    EXPECT_FALSE(IsLeapYear(1900));
    EXPECT_FALSE(IsLeapYear(2100));
    EXPECT_EQ(DaysInMonth(2026, 4), 30);
    EXPECT_EQ(DaysInMonth(2026, 13), 0);
    for (auto [y, m, d] : {std::tuple{2000, 2, 29}, {9999, 12, 31}, {24, 2, 29}})
        EXPECT_TRUE(IsCalendarDate(y, m, d)) << y << "-" << m << "-" << d;
    for (auto [y, m, d] : {std::tuple{1900, 2, 29}, {2100, 2, 29}, {2026, 4, 31}, {2026, 0, 1}, {2026, 1, 0},
                           {10000, 1, 1}, {23, 2, 29}})
        EXPECT_FALSE(IsCalendarDate(y, m, d)) << y << "-" << m << "-" << d;
    EXPECT_TRUE(InDateRange(DateSerial(100, 1, 1)));
    EXPECT_TRUE(InDateRange(DateSerial(9999, 12, 31) + 0.99));
    EXPECT_FALSE(InDateRange(DateSerial(10000, 1, 1)));
    EXPECT_FALSE(InDateRange(DateSerial(100, 1, 1) - 1.5));
    EXPECT_FALSE(InDateRange(NAN));
}

TEST(DateSerial, EveryDayOfFourCenturiesRoundTrips) {
    double serial = DateSerial(1800, 1, 1);
    int weekday = ToCivil(serial).Weekday;
    for (int year = 1800; year < 2200; ++year)
        for (int month = 1; month <= 12; ++month)
            for (int day = 1; day <= DaysInMonth(year, month); ++day) {
                const CivilTime c = ToCivil(serial);
                ASSERT_EQ(std::make_tuple(c.Year, c.Month, c.Day, c.Weekday), std::make_tuple(year, month, day, weekday));
                serial += 1;
                weekday = weekday % 7 + 1;
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

    EXPECT_EQ(Fields(ToCivil(-1.25)), std::make_tuple(1899, 12, 29, 6, 0, 0));
    EXPECT_EQ(ToCivil(-1.25).Weekday, 6);  // Friday
    EXPECT_EQ(Fields(ToCivil(-0.5)), std::make_tuple(1899, 12, 30, 12, 0, 0));
    for (int h = 0; h < 24; h += 5)
        EXPECT_EQ(Fields(ToCivil(MakeDateTime(1850, 6, 15, h, 17, 42))), std::make_tuple(1850, 6, 15, h, 17, 42));
}

TEST(DateSerial, RoundingToTheSecondCrossesMidnight) {
    EXPECT_EQ(Fields(ToCivil(DateSerial(2026, 12, 31) + 86399.6 / 86400.0)), std::make_tuple(2027, 1, 1, 0, 0, 0));
    EXPECT_EQ(Fields(ToCivil(DateSerial(2026, 12, 31) + 86399.4 / 86400.0)), std::make_tuple(2026, 12, 31, 23, 59, 59));
    // On a negative day the next second is still the next calendar day.
    EXPECT_EQ(Fields(ToCivil(-1.0 - 86399.6 / 86400.0)), std::make_tuple(1899, 12, 30, 0, 0, 0));
    int64_t days = 0;
    int secs = 0;
    SplitDateTime(2.0 - 1e-9, days, secs);
    EXPECT_EQ(days, 2);
    EXPECT_EQ(secs, 0);
}

TEST(DateSerial, NonsenseValuesDoNotCrash) {
    for (double v : {double(NAN), double(INFINITY), -double(INFINITY), 1e300, -1e300, 1e10}) {
        const CivilTime c = ToCivil(v);
        EXPECT_TRUE(c.Month >= 1 && c.Month <= 12 && c.Weekday >= 1 && c.Weekday <= 7) << v;
    }
    EXPECT_TRUE(std::isfinite(DateSerial(INT32_MAX, INT32_MAX, INT32_MAX)));
    EXPECT_TRUE(std::isfinite(MakeDateTime(INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN)));
}
