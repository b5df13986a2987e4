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

} // namespace

bool IsLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int DaysInMonth(int year, int month) {
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12) return 0;
    return month == 2 && IsLeapYear(year) ? 29 : days[month - 1];
}

double DateSerial(int year, int month, int day) {
    // Normalise the month first, then let the day run on from the first of that month.
    int64_t m0 = static_cast<int64_t>(month) - 1;
    int64_t y = year + (m0 >= 0 ? m0 / 12 : (m0 - 11) / 12);
    m0 = ((m0 % 12) + 12) % 12;
    const int64_t first = DaysFromCivil(y, static_cast<unsigned>(m0 + 1), 1);
    return static_cast<double>(first + (day - 1) + kEpochOffset);
}

double TimeSerial(int hour, int minute, int second) {
    return (static_cast<double>(hour) * 3600.0 + minute * 60.0 + second) / 86400.0;
}

DateTime MakeDateTime(int year, int month, int day, int hour, int minute, int second) {
    const double date = DateSerial(year, month, day);
    const double time = TimeSerial(hour, minute, second);
    if (date < 0 && time >= 0 && time < 1) return date - time; // negative days carry a positive time
    return date + time;
}

void SplitDateTime(DateTime value, int64_t& days, int& secondsOfDay) {
    double whole = std::trunc(value);
    double frac = std::fabs(value - whole);
    if (value < 0 && frac == 0) whole = value;
    int64_t secs = std::llround(frac * 86400.0);
    int64_t d = static_cast<int64_t>(whole);
    if (value < 0 && frac > 0) {
        // -1.25 is 29 Dec 1899 06:00: the day is the whole part, the time the fraction's size.
    }
    if (secs >= 86400) {
        secs -= 86400;
        d += value < 0 ? -1 : 1;
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
