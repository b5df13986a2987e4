#include "core/ResumeAfterRestart.h"

#include <cmath>

#include "files/DemandPeriods.h"
#include "files/ResumeState.h"
#include "files/ScanTypes.h"
#include "support/Log.h"

namespace {

// Period ends compare to within a second: they are the same computation on the same day.
bool SamePeriod(DateTime a, DateTime b) { return std::fabs(a - b) * 86400.0 < 1.0; }

}  // namespace

VbError KeepTagValues(const SetupData& setup, const TagValues& values, const MonitorSettings& settings, DateTime now) {
    ResumeState state;
    state.PeriodsPerDay = setup.PeriodsPerDay;
    state.PeriodEnd = PeriodEndDateTime(now, setup.PeriodsPerDay);
    state.Written = now;
    for (int n = 1; n <= setup.TagCount; ++n) {
        const auto i = static_cast<std::size_t>(n);
        if (i >= setup.TagTable.size() || i >= values.size()) break;
        const TagRecord& record = setup.TagTable[i];
        if (record.Online != 1 || record.TagType != TagTypeMeasured || ScanKindOf(record.ScanType).Calc == ScanCalculation::None) continue;
        const TagValue& v = values[i];
        state.Tags.push_back({n, record.ScanType, v.Current, v.Previous, v.Integrated, v.LastGoodDelta, v.LastGoodRate,
                              v.Rate, v.LastReadTime, v.PulseTime});
    }
    return WriteResumeState(ResumeFilePath(settings.StoreFilePath), state);
}

int TakeBackTagValues(const SetupData& setup, TagValues& values, const MonitorSettings& settings, DateTime now) {
    const VbResult<ResumeState> kept = ReadResumeState(ResumeFilePath(settings.StoreFilePath));
    if (!kept.Ok()) {
        if (kept.Error.Number != ErrFileNotFound) ReportError("TakeBackTagValues", kept.Error);
        return 0;
    }
    const ResumeState& state = kept.Value;
    // Kept in another period, or later than now (the clock went back): the values belong elsewhere.
    if (state.PeriodsPerDay != setup.PeriodsPerDay || !SamePeriod(state.PeriodEnd, PeriodEndDateTime(now, setup.PeriodsPerDay)) ||
        state.Written > now)
        return 0;
    int taken = 0;
    for (const ResumeTag& t : state.Tags) {
        const auto i = static_cast<std::size_t>(t.Tag);
        if (t.Tag > setup.TagCount || i >= setup.TagTable.size() || i >= values.size()) continue;
        const TagRecord& record = setup.TagTable[i];
        if (record.Online != 1 || record.TagType != TagTypeMeasured || record.ScanType != t.ScanType) continue;
        const ScanCalculation kind = ScanKindOf(t.ScanType).Calc;
        if (kind == ScanCalculation::None) continue;
        TagValue& v = values[i];
        // What was integrated stays. A rate tag's downtime is not known, so it is not booked; pulse
        // and total meters kept counting, and their next reading books the downtime.
        v.Integrated = t.Integrated;
        v.Rate = t.Rate;
        if (kind != ScanCalculation::Direct) {
            v.Previous = t.Previous;
            v.Resumed = true;
            if (kind == ScanCalculation::Pulse) {
                v.PulseTime = t.PulseTime;
                v.LastGoodDelta = t.LastGoodDelta;
                v.LastGoodRate = t.LastGoodRate;
            } else {
                v.LastReadTime = t.LastReadTime;
            }
        }
        ++taken;
    }
    return taken;
}

void EndTakeBack(TagValues& values) {
    for (TagValue& v : values) v.Resumed = false;
}
