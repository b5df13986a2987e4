#pragma once
// Date-time formats (see platform/DateSerial.h for the type: days from 30 Dec 1899, local time).
#include <string>
#include <string_view>

#include "platform/DateSerial.h"

// Format(value, pattern) with the classic date tokens:
//   d dd ddd dddd   day, two-digit day, "Mon", "Monday"
//   m mm mmm mmmm   month, two-digit month, "Jan", "January" (m/mm right after h/hh, or right before s/ss, are minutes)
//   n nn            minutes
//   yy yyyy         year
//   h hh            hours (24-hour clock)
//   s ss            seconds
//   also: y (day of year), w (weekday 1 = Sunday), ww (week of year), q (quarter), c (GeneralDate),
//   AM/PM am/pm A/P a/p (switch h/hh to the 12-hour clock), \x (x copied)
// Every other character is copied; text in double quotes is copied without the quotes.
// The formats the monitor uses: "dd/mm/yy hh:mm:ss", "ddd, mmm d yyyy", "hh:mm:ss",
// "mmm dd, yy. hh:mm", "mmm dd, yyyy. hh:mm:ss", "mmm dd, yyyy.", "yymm".
std::string FormatDate(DateTime value, std::string_view pattern);
// A readable general date: "dd/mm/yyyy hh:mm:ss", the date alone at midnight, the time alone for day 0.
std::string GeneralDate(DateTime value);
// The log time stamp "dd/mm/yy hh:mm:ss".
std::string LogStamp(DateTime value);

const char* MonthAbbreviation(int month);   // 1..12 -> "Jan".."Dec"
const char* MonthName(int month);           // 1..12 -> "January".."December"
const char* DayAbbreviation(int weekday);   // 1 (Sunday)..7 -> "Sun".."Sat"
const char* DayName(int weekday);           // 1..7 -> "Sunday".."Saturday"

int Year(DateTime value);
int Month(DateTime value);
int Day(DateTime value);
int Hour(DateTime value);
int Minute(DateTime value);
int Second(DateTime value);
int Weekday(DateTime value);                 // 1 = Sunday
DateTime DateOnly(DateTime value);           // the date at midnight (the whole days; toward zero for the rare negative dates, which keeps their calendar day)
DateTime TimeOnly(DateTime value);           // the fraction: the time of day

// Reads "YYYY-MM-DDTHH:MM:SS" (or with a blank instead of T, or a date alone). False when malformed
// or not a real calendar date.
bool ParseIsoDateTime(std::string_view text, DateTime& out);
