#pragma once
// Steps of the PC clock that the monitor did not make itself: set back or on by hand or by another
// program, or local time moving for summer time. Each tick compares how far the clock moved with
// the time that passed on the machine's steady clock (times the simulated clock's speed).
#include "platform/DateSerial.h"

class ClockStepWatch {
public:
    // Smaller differences are the jitter of reading two clocks one after the other.
    static constexpr double MinimumStepSeconds = 2.0;

    // Seconds the clock stepped since the last Mark (negative: back); 0 when it did not, or when
    // that cannot be told (no mark yet, or the clock's speed changed in between).
    double Step(DateTime now, double steadySeconds, double speed) const;
    // Where the clocks stood at the end of a tick, after the monitor's own moves of the clock.
    void Mark(DateTime now, double steadySeconds, double speed);
    // The clock at the last mark: the last time seen before a step.
    DateTime LastMark() const { return clock_; }

private:
    bool marked_ = false;
    DateTime clock_ = 0;
    double steady_ = 0;
    double speed_ = 1;
};
