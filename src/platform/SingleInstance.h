#pragma once
// "Is another copy of this program already running?" for one prefix. The lock is held until
// the process ends (also when it dies), so a killed monitor never blocks the next start.
#include <string_view>

// True when this process now holds the instance lock of name (or already held it);
// false when another live process holds it.
bool AcquireSingleInstance(std::string_view name);
void ReleaseSingleInstance(std::string_view name);
