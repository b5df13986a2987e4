#pragma once
// The date-time type: a day count from 30 Dec 1899 with the time of day as the fraction,
// always in local wall-clock time. Pure calendar arithmetic (proleptic Gregorian), no time zones.
#include <cstdint>

using DateTime = double;

struct CivilTime {
    int Year = 1899;
    int Month = 12;   // 1..12
    int Day = 30;     // 1..31
    int Hour = 0;
    int Minute = 0;
    int Second = 0;
    int Weekday = 7;  // 1 = Sunday .. 7 = Saturday
};

// Days from 30 Dec 1899 to the given date; months and days outside their range roll over
// as the classic DateSerial does (month 13 is January of the next year, day 0 the last of the month before).
// A two-digit year is read in the classic window: 0..29 are 2000..2029, 30..99 are 1930..1999.
double DateSerial(int year, int month, int day);
// Fraction of a day; hours, minutes and seconds may be out of range and roll over.
double TimeSerial(int hour, int minute, int second);
// Date and time together (a negative day count keeps its time as a positive fraction, as the original type did).
DateTime MakeDateTime(int year, int month, int day, int hour, int minute, int second);

// Calendar fields of a date-time, rounded to the nearest second.
CivilTime ToCivil(DateTime value);
// Whole days and seconds of the day of a date-time, rounded to the nearest second.
void SplitDateTime(DateTime value, int64_t& days, int& secondsOfDay);

bool IsLeapYear(int year);
int DaysInMonth(int year, int month);
// True when year, month and day name a real calendar date (no roll-over); the two-digit year window applies.
bool IsCalendarDate(int year, int month, int day);
// The range the original date type could hold: 1 Jan 100 00:00:00 to 31 Dec 9999 23:59:59.
bool InDateRange(DateTime value);
