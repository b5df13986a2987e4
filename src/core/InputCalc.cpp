#include "core/InputCalc.h"

#include <algorithm>
#include <string>

#include "core/ScanTag.h"
#include "support/SingleArithmetic.h"
#include "support/Log.h"
#include "support/VbConvert.h"
#include "support/VbDate.h"

namespace {

constexpr double HoursPerDay = 24;
constexpr double SecondsPerHour = 3600;
// A pause in the pulses no longer than this leaves the rate alone.
constexpr double PulsePauseSeconds = 30;

// (N × rate + new rate) / (N + 1), each step in single precision.
float Smoothed(SingleArithmetic& ops, int16_t n, float rate, float newRate) {
    const float weighted = ops.Mul(static_cast<float>(n), rate);
    const float sum = ops.Add(weighted, newRate);
    return ops.Div(sum, static_cast<float>(n + 1));
}

// The rate goes to the tag's host output tag, when it has one.
void HostOutput(ScanContext& scan, const TagRecord& record, float rate) {
    if (record.HostTagNumber <= 0) return;
    scan.Host.IO.Index(record.HostTagNumber);
    scan.Host.IO.Value(rate);
}

}  // namespace

void Input_Calc_Direct(ScanContext& scan, int16_t tag, DateTime now) {
    constexpr char procedure[] = "Input_Calc_Direct";
    if (!ScanTagInRange(scan, tag)) return ReportError(procedure, VbError(ErrSubscript));
    const TagRecord& record = scan.Setup.TagTable[tag];
    TagValue& value = scan.Values[tag];
    SingleArithmetic ops;

    const float scaled = ops.Mul(value.Current, record.UnitsPerPulse);
    if (ops.Failed()) return ReportError(procedure, ops.Error());
    value.Current = scaled;

    // A clock gone back since the last reading gives no span, never a negative one.
    const double hours = std::max(0.0, (now - value.LastReadTime) * HoursPerDay);
    const float integrated =
        ops.Single(static_cast<double>(value.Integrated) + static_cast<double>(value.Current) * hours);
    if (ops.Failed()) return ReportError(procedure, ops.Error());
    value.Integrated = integrated;
    value.LastReadTime = now;
    value.Rate = value.Current;

    HostOutput(scan, record, value.Rate);
    ShowGridNumber(scan, tag, GridColumnRate, GridNumber::Fixed(value.Rate));
}

void Input_Calc_Total(ScanContext& scan, int16_t tag, DateTime now) {
    constexpr char procedure[] = "Input_Calc_Total";
    if (!ScanTagInRange(scan, tag)) return ReportError(procedure, VbError(ErrSubscript));
    const TagRecord& record = scan.Setup.TagTable[tag];
    TagValue& value = scan.Values[tag];
    const int16_t n = scan.Settings.AverageScans;
    SingleArithmetic ops;

    // The rate is the growth since the meter's previous reading, kept in Previous: Integrated is
    // cleared by start-up and by every period save, and comparing with that would book the whole
    // running total as one scan's growth. The first reading after start-up only sets the base,
    // unless the base was taken back from before a restart.
    const float old = value.Previous;
    value.Integrated = value.Current;
    const double hours = (now - value.LastReadTime) * HoursPerDay;
    // A clock gone back gives no span to rate the growth over: the rate stays as it was.
    if ((scan.State.StartingUp != 1 || value.Resumed) && value.Current > old && hours >= 0) {
        const float growth = ops.Sub(value.Current, old);
        const float newRate = ops.Single(ops.Div(static_cast<double>(growth), hours));
        const float rate = Smoothed(ops, n, value.Rate, newRate);
        if (ops.Failed()) return ReportError(procedure, ops.Error());
        value.Rate = rate;
        value.LastReadTime = now;
    }
    // A total that stays or falls (a replaced meter) keeps the rate; it is the new base either way.
    value.Previous = value.Current;

    HostOutput(scan, record, value.Rate);
    ShowGridNumber(scan, tag, GridColumnRate, GridNumber::Smoothed(n, value.Rate));
}

void Input_Calc_Pulse(ScanContext& scan, int16_t tag, DateTime now) {
    constexpr char procedure[] = "Input_Calc_Pulse";
    if (!ScanTagInRange(scan, tag)) return ReportError(procedure, VbError(ErrSubscript));
    const TagRecord& record = scan.Setup.TagTable[tag];
    TagValue& value = scan.Values[tag];
    const int16_t n = scan.Settings.AverageScans;
    SingleArithmetic ops;

    if (scan.State.StartingUp == 1 && !value.Resumed) {
        // The first reading only sets the base: no rate, no output, no grid update.
        value.Previous = value.Current;
        value.PulseTime = now;
        return;
    }

    float increment = 0;
    if (value.Current < value.Previous) {
        const float toRollover = ops.Sub(record.RolloverValue, value.Previous);
        // A counter below its previous value either wrapped at the rollover or was reset.
        increment = toRollover < 0 ? value.Current : ops.Add(toRollover, value.Current);
    } else {
        increment = ops.Sub(value.Current, value.Previous);
    }
    increment = ops.Mul(increment, record.UnitsPerPulse);

    const double hours = (now - value.PulseTime) * HoursPerDay;
    bool good = true;
    if (hours < 0) {
        // The clock went back past the last pulse update: the pulses still count, but there is no
        // span to rate or check them over, so the rate stays and the span starts again from now.
        const float integrated = ops.Add(value.Integrated, increment);
        if (ops.Failed()) return ReportError(procedure, ops.Error());
        value.PulseTime = now;
        value.Integrated = integrated;
        if (increment > 0) value.LastGoodDelta = increment;
        HostOutput(scan, record, value.Rate);
        ShowGridNumber(scan, tag, GridColumnRate, GridNumber::SmoothedWithLimit(n, value.Rate, record.MaxRate));
        ShowRowColour(scan, tag, ColourBlack);
        value.Previous = value.Current;
        return;
    }
    const double seconds = hours * SecondsPerHour;
    float newRate = ops.Single(ops.Div(static_cast<double>(increment), hours));
    newRate = Smoothed(ops, n, value.Rate, newRate);
    if (ops.Failed()) return ReportError(procedure, ops.Error());

    if (!(increment <= 0 && seconds <= PulsePauseSeconds)) {
        value.PulseTime = now;
        if (record.MaxRate <= 0 || newRate <= record.MaxRate) {
            const float integrated = ops.Add(value.Integrated, increment);
            if (ops.Failed()) return ReportError(procedure, ops.Error());
            value.Rate = newRate;
            value.Integrated = integrated;
            value.LastGoodDelta = increment;
            value.LastGoodRate = newRate;
        } else {
            // An implausible jump: the last accepted increment and rate stand in for it.
            good = false;
            AddToLog("Rate Err. Tag" + std::to_string(tag) + "HiRate=" + FormatFixed(newRate, 2) +
                     ":OldRate=" + FormatFixed(value.Rate, 2) + ":OldValue =" + FormatFixed(value.Previous, 2) +
                     ":ThisValue =" + FormatFixed(value.Current, 2));
            AddToLog("                Units/Pulse =" + FormatFixed(record.UnitsPerPulse, 6) +
                     ":MaxRate =" + FormatFixed(record.MaxRate, 2) + ":OldEnergy=" + FormatFixed(value.Integrated, 2));
            const float integrated = ops.Add(value.Integrated, value.LastGoodDelta);
            if (ops.Failed()) return ReportError(procedure, ops.Error());
            value.Rate = value.LastGoodRate;
            value.Integrated = integrated;
            AddToLog("                LastTime=" + FormatDate(value.PulseTime, "hh:mm:ss") +
                     ":TimeNow=" + FormatDate(now, "hh:mm:ss") + ":LastUsed=" + FormatFixed(value.LastGoodDelta, 2) +
                     ":NewEnergy=" + FormatFixed(value.Integrated, 2));
        }
    }

    HostOutput(scan, record, value.Rate);
    ShowGridNumber(scan, tag, GridColumnRate, GridNumber::SmoothedWithLimit(n, value.Rate, record.MaxRate));
    ShowRowColour(scan, tag, good ? ColourBlack : ColourRed);
    value.Previous = value.Current;
}
