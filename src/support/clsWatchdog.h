#pragma once
// Toggles a host output tag between 0 and 1 every ToggleSecs seconds so the host can see the
// monitor is alive; the main window's "WATCH DOG" label follows the value last written.
#include <cstdint>
#include <functional>

#include "platform/DateSerial.h"
#include "platform/VbError.h"

class clsWatchdog {
public:
    // The point library's output write: index relative to output tag 2001, value, two zero arguments.
    using TagOutputCall = std::function<VbResult<int32_t>(int32_t output, float value, int32_t insertStack,
                                                          int32_t reserved)>;

    // The first toggle falls due ToggleSecs seconds after this.
    clsWatchdog();

    // Minimum seconds between two toggles, limited to 0..120.
    int32_t ToggleSecs() const { return toggleSecs_; }
    void ToggleSecs(int32_t value) { toggleSecs_ = value < 0 ? 0 : (value > 120 ? 120 : value); }
    // Host output tag 2001..4048; anything else switches the watchdog off (0).
    int32_t OutputTag() const { return outputTag_; }
    void OutputTag(int32_t value) { outputTag_ = (value >= 2001 && value <= 4048) ? value : 0; }

    // The value last written, 0 or 1.
    float WatchdogState() const { return watchdogState_; }
    DateTime LastToggleTime() const { return lastToggleTime_; }

    void SetTagOutputValue(TagOutputCall call) { setTagOutputValue_ = std::move(call); }
    // The "WATCH DOG" label: on while the state is 1.
    void SetLabel(std::function<void(bool on)> label) { label_ = std::move(label); }
    // Lets pending window events run once after a toggle.
    void SetDoEvents(std::function<void()> doEvents) { doEvents_ = std::move(doEvents); }

    // Once a second: toggles the output when due.
    void Update();

private:
    int32_t toggleSecs_ = 0;
    int32_t outputTag_ = 0;
    float watchdogState_ = 0;
    DateTime lastToggleTime_ = 0;
    TagOutputCall setTagOutputValue_;
    std::function<void(bool)> label_;
    std::function<void()> doEvents_;
};
