#include "files/DemandPeriods.h"

#include <cmath>

#include "support/Log.h"
#include "support/VbConvert.h"
#include "support/VbDate.h"

namespace {

constexpr double MinutesPerDay = 1440.0;

// Period length, or the error that prevents one.
VbResult<int> Minutes(int periodsPerDay)
{
    VbResult<int> r;
    if (periodsPerDay == 0) {
        r.Error = VbError(ErrDivisionByZero);
        return r;
    }
    const VbResult<int16_t> m = CInt(60.0 / (periodsPerDay / 24.0));
    if (!m.Ok()) {
        r.Error = m.Error;
        return r;
    }
    if (m.Value == 0) {
        r.Error = VbError(ErrDivisionByZero);
        return r;
    }
    r.Value = m.Value;
    return r;
}

} // namespace

int PeriodMinutes(int periodsPerDay)
{
    const VbResult<int> m = Minutes(periodsPerDay);
    if (!m.Ok()) {
        ReportError("PeriodMinutes", m.Error);
        return 0;
    }
    return m.Value;
}

int16_t PeriodNumber(DateTime time, int periodsPerDay)
{
    const VbResult<int> m = Minutes(periodsPerDay);
    if (!m.Ok()) {
        ReportError("PeriodNumber", m.Error);
        return 0;
    }
    const VbResult<int16_t> base = CInt(60.0 / m.Value * Hour(time));
    const double number = std::floor(static_cast<double>(Minute(time)) / m.Value) + base.Value + 1;
    const VbResult<int16_t> result = CInt(number);
    if (!base.Ok() || !result.Ok()) {
        ReportError("PeriodNumber", VbError(ErrOverflow));
        return 0;
    }
    return result.Value;
}

DateTime PeriodEndTime(int period, int periodsPerDay)
{
    if (periodsPerDay == 0) {
        ReportError("PeriodEndTime", VbError(ErrDivisionByZero));
        return 0;
    }
    return static_cast<double>(period) / periodsPerDay;
}

DateTime PeriodLastEndDateTime(DateTime now, int periodsPerDay)
{
    const DateTime t = now - 5.0 / MinutesPerDay;
    const int n = PeriodNumber(t, periodsPerDay);
    return DateOnly(t) + PeriodEndTime(n, periodsPerDay);
}

DateTime PeriodEndDateTime(DateTime time, int periodsPerDay)
{
    return DateOnly(time) + PeriodEndTime(PeriodNumber(time, periodsPerDay), periodsPerDay);
}

int32_t PeriodRecordIndex(DateTime time, int periodsPerDay)
{
    return (Day(time) - 1) * periodsPerDay + PeriodNumber(time, periodsPerDay) - 1;
}
