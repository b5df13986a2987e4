#pragma once
// Demand periods: the day cut into periodsPerDay equal periods (24, 48 or 96), numbered 1.. from
// midnight. Seconds are ignored throughout. A periodsPerDay that gives no period length is
// reported in the error form ("PeriodNumber, Error 11/ Division by zero") and gives 0.
#include <cstdint>

#include "platform/DateSerial.h"

// Minutes in one period: 60 / (periodsPerDay / 24), rounded.
int PeriodMinutes(int periodsPerDay);
// The period that contains time.
int16_t PeriodNumber(DateTime time, int periodsPerDay);
// The time of day (fraction of a day) at which period ends; period periodsPerDay ends at 1.0.
DateTime PeriodEndTime(int period, int periodsPerDay);
// The end of the most recently ended period as seen at now (looks back 5 minutes, so a call
// shortly after a boundary gives that boundary).
DateTime PeriodLastEndDateTime(DateTime now, int periodsPerDay);
// The date and time at which the period that contains time ends.
DateTime PeriodEndDateTime(DateTime time, int periodsPerDay);
// 0-based record index within the month of the period that contains time:
// (day of month - 1) x periodsPerDay + period number - 1.
int32_t PeriodRecordIndex(DateTime time, int periodsPerDay);
