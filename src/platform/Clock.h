#pragma once
// The PC clock. The real one is the system clock; a simulated one (a start time and a speed
// factor kept in <prefix>/clock.ini) is shared by every program of the prefix, so demos and
// tests can run a day in minutes without touching the machine's clock.
#include <cstdint>

#include "platform/DateSerial.h"
#include "platform/VbError.h"

// Now, as a local date-time, from the prefix's clock (simulated when one is set), and how fast
// that clock runs, both from one look at its state.
struct ClockReading {
    DateTime Now = 0;
    double Speed = 1;  // 1 for the real clock
};
ClockReading ClockRead();
DateTime ClockNow();
// Sets the local date and time of the PC clock. Simulated: moves the simulated clock, keeping its speed.
// Real: sets the system clock; a refusal (no privilege) gives error 70.
VbError ClockSet(DateTime localDateTime);
// Starts the simulated clock of the prefix at start running at speed (> 0).
VbError ClockSimulate(DateTime start, double speed);
// Returns the prefix to the system clock.
VbError ClockUseReal();
bool ClockIsSimulated();
double ClockSpeed();          // 1 for the real clock
// Milliseconds between one-second ticks of the monitor: 1000 / speed, at least 1.
int ClockTickMilliseconds();

// Milliseconds of the machine's monotonic clock as the kernel last noted it: cheap to read
// many times a scan, exact to the kernel's tick (a few milliseconds). For throttles, not for data.
int64_t CoarseMonotonicMs();

// Conversions between Unix time and local date-times (the machine's time zone).
DateTime LocalDateTimeFromUnix(double unixSeconds);
double UnixFromLocalDateTime(DateTime value);
