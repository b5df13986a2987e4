#pragma once
// Toggles a host output tag so the host can see the monitor is alive. For now the object holds
// its settings; the toggling itself comes with the monitor core.
#include <cstdint>

class clsWatchdog {
public:
    // Minimum seconds between two toggles, limited to 0..120.
    int32_t ToggleSecs() const { return toggleSecs_; }
    void ToggleSecs(int32_t value) { toggleSecs_ = value < 0 ? 0 : (value > 120 ? 120 : value); }
    // Host output tag 2001..4048; anything else switches the watchdog off (0).
    int32_t OutputTag() const { return outputTag_; }
    void OutputTag(int32_t value) { outputTag_ = (value >= 2001 && value <= 4048) ? value : 0; }

private:
    int32_t toggleSecs_ = 0;
    int32_t outputTag_ = 0;
};
