#include "support/clsClockSync.h"

#include <cstdint>
#include <string>

#include "platform/Clock.h"
#include "platform/Paths.h"
#include "platform/Programs.h"
#include "support/Log.h"
#include "support/VbDate.h"

namespace {

constexpr int SecondsPerDay = 86400;

// Whole seconds since 30 Dec 1899, to the nearest second (as the clock's fields are read).
int64_t WholeSeconds(DateTime value) {
    int64_t days = 0;
    int secondsOfDay = 0;
    SplitDateTime(value, days, secondsOfDay);
    return days * SecondsPerDay + secondsOfDay;
}

}  // namespace

clsClockSync::clsClockSync()
    : clockLogFile_(PathJoin(LogFolder(), ProgramName() + "_PC_Clock.log")), clockSet_(&ClockSet) {}

double clsClockSync::Update() {
    const DateTime before = ClockNow();
    if (inputTag_ == 0) return 0;

    // A failed read counts as 0, which is never taken as a pulse.
    float reading = 0;
    if (getTagReading_) {
        const VbResult<float> read = getTagReading_(inputTag_ - 1);
        if (read.Ok()) reading = read.Value;
    }

    double seconds = 0;
    const bool pulse = lastPulseReading_ != -1.0f && reading != 0 && reading != lastPulseReading_;
    if (pulse) {
        const int64_t beforeSeconds = WholeSeconds(before);
        const int64_t day = beforeSeconds / SecondsPerDay;
        const int secondOfDay = static_cast<int>(beforeSeconds % SecondsPerDay);
        const int hour = secondOfDay / 3600;
        const int minute = secondOfDay / 60 % 60;
        int64_t afterSeconds = -1;
        if (minute <= 5) {
            afterSeconds = day * SecondsPerDay + hour * 3600 + offset_;
        } else if (minute >= 55) {
            // The next full hour, into the next day (and year) after 23:59:59.
            afterSeconds = day * SecondsPerDay + hour * 3600 + 3599 + offset_ + 1;
        }
        if (afterSeconds >= 0) {
            const DateTime after = static_cast<double>(afterSeconds / SecondsPerDay) +
                                   static_cast<double>(afterSeconds % SecondsPerDay) / SecondsPerDay;
            const VbError refused = clockSet_ ? clockSet_(after) : VbError(ErrObjectRequired);
            if (refused) {
                // The clock stayed where it was, so nothing may be shifted by the scan.
                clsLog().LogError(ClassErrorReport("clsClockSync", "Update", refused));
            } else {
                seconds = static_cast<double>(afterSeconds - beforeSeconds);
                RotatingAppend(clockLogFile_,
                               "Adjust PC Clock. Before = " + FormatDate(before, "mmm dd, yyyy. hh:mm:ss") +
                                   ". After = " + FormatDate(after, "mmm dd, yyyy.") + " " +
                                   FormatDate(after, "hh:mm:ss") + ". (" +
                                   std::to_string(static_cast<int64_t>(seconds)) + "secs).",
                               ClockLogRotation);
            }
        }
    }
    lastPulseReading_ = reading;
    return seconds;
}
