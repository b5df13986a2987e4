#pragma once
// Keeps the PC clock in step with a host tag that marks the full hour. For now the object holds
// its settings; the synchronisation itself comes with the monitor core.
#include <cstdint>

class clsClockSync {
public:
    // Host input tag carrying the hour pulse, 1..1024; anything else switches synchronisation off (0).
    int32_t InputTag() const { return inputTag_; }
    void InputTag(int32_t value) { inputTag_ = (value >= 1 && value <= 1024) ? value : 0; }
    // Seconds past the full hour to set, limited to 0..120.
    int32_t Offset() const { return offset_; }
    void Offset(int32_t value) { offset_ = value < 0 ? 0 : (value > 120 ? 120 : value); }

private:
    int32_t inputTag_ = 0;
    int32_t offset_ = 0;
};
