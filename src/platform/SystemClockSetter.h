#pragma once
// The one call that changes the machine's clock, replaceable so tests can check how a refusal
// is reported without ever setting the real clock.
#include <time.h>

// Sets the system clock to a Unix time; returns 0 or the errno value of the refusal.
using SystemClockSetter = int (*)(const timespec& unixTime);

// Installs setter (nullptr: the system's own) and returns the one it replaces.
SystemClockSetter SetSystemClockSetterForTest(SystemClockSetter setter);
