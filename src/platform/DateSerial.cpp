#include "platform/DateSerial.h"

#include <cmath>

namespace {

// Days from 1 Jan 1970 of a proleptic Gregorian date (Howard Hinnant's algorithm).
int64_t DaysFromCivil(int64_t y, unsigned m, unsigned d) {
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

void CivilFromDays(int64_t z, int& y, int& m, int& d) {
    z += 719468;
    const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const int64_t yy = static_cast<int64_t>(yoe) + era * 400;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    y = static_cast<int>(yy + (m <= 2));
}

constexpr int64_t kEpochOffset = 25569; // days from 30 Dec 1899 to 1 Jan 1970
constexpr int64_t kSecondsPerDay = 86400;
// Day counts beyond this are clamped: far outside any date the monitor meets, yet the
// calendar arithmetic stays inside int64 and the year inside int.
constexpr double kDayLimit = 1e9;

int64_t WindowYear(int64_t year) {
    if (year >= 0 && year <= 29) return year + 2000;
    if (year >= 30 && year <= 99) return year + 1900;
    return year;
}

int64_t FloorDiv(int64_t a, int64_t b) {
    int64_t q = a / b;
    if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
    return q;
}

// A day count and seconds of that day encoded the classic way: negative days carry the time
// as a positive fraction subtracted from them (-1.25 is 29 Dec 1899 06:00).
DateTime Encode(int64_t days, int64_t secondsOfDay) {
    const double frac = static_cast<double>(secondsOfDay) / static_cast<double>(kSecondsPerDay);
    return days < 0 ? static_cast<double>(days) - frac : static_cast<double>(days) + frac;
}

} // namespace

bool IsLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int DaysInMonth(int year, int month) {
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12) return 0;
    return month == 2 && IsLeapYear(year) ? 29 : days[month - 1];
}

bool IsCalendarDate(int year, int month, int day) {
    const int64_t y = WindowYear(year);
    if (y < 100 || y > 9999) return false;
    return month >= 1 && month <= 12 && day >= 1 && day <= DaysInMonth(static_cast<int>(y), month);
}

bool InDateRange(DateTime value) { return value > -657435.0 && value < 2958466.0; }

double DateSerial(int year, int month, int day) {
    // Normalise the month first, then let the day run on from the first of that month.
    const int64_t m0 = static_cast<int64_t>(month) - 1;
    const int64_t y = WindowYear(year) + FloorDiv(m0, 12);
    const int64_t mm = m0 - FloorDiv(m0, 12) * 12;
    const int64_t first = DaysFromCivil(y, static_cast<unsigned>(mm + 1), 1);
    return static_cast<double>(first + (static_cast<int64_t>(day) - 1) + kEpochOffset);
}

double TimeSerial(int hour, int minute, int second) {
    return (static_cast<double>(hour) * 3600.0 + minute * 60.0 + second) / 86400.0;
}

DateTime MakeDateTime(int year, int month, int day, int hour, int minute, int second) {
    // Whole seconds first, so out-of-range times roll over into the day before the encoding.
    const int64_t dateDays = static_cast<int64_t>(DateSerial(year, month, day));
    const int64_t total = dateDays * kSecondsPerDay + static_cast<int64_t>(hour) * 3600 +
                          static_cast<int64_t>(minute) * 60 + second;
    const int64_t days = FloorDiv(total, kSecondsPerDay);
    return Encode(days, total - days * kSecondsPerDay);
}

void SplitDateTime(DateTime value, int64_t& days, int& secondsOfDay) {
    if (!std::isfinite(value)) {
        days = 0;
        secondsOfDay = 0;
        return;
    }
    if (value > kDayLimit) value = kDayLimit;
    if (value < -kDayLimit) value = -kDayLimit;
    // The whole part is the day (toward zero: -1.25 is day -1), the fraction's size the time.
    const double whole = std::trunc(value);
    const double frac = std::fabs(value - whole);
    int64_t d = static_cast<int64_t>(whole);
    int64_t secs = std::llround(frac * 86400.0);
    if (secs >= kSecondsPerDay) {
        // Rounding up to midnight moves on to the next calendar day, whatever the sign.
        secs -= kSecondsPerDay;
        d += 1;
    }
    days = d;
    secondsOfDay = static_cast<int>(secs);
}

CivilTime ToCivil(DateTime value) {
    int64_t days = 0;
    int secs = 0;
    SplitDateTime(value, days, secs);
    CivilTime c;
    CivilFromDays(days - kEpochOffset, c.Year, c.Month, c.Day);
    c.Hour = secs / 3600;
    c.Minute = (secs / 60) % 60;
    c.Second = secs % 60;
    // 30 Dec 1899 was a Saturday.
    int64_t w = (days + 6) % 7;
    if (w < 0) w += 7;
    c.Weekday = static_cast<int>(w) + 1;
    return c;
}
